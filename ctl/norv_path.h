// Where norv is.
#pragma once

#include <string>

// The path of norv: `asked` when it is not empty; else the file beside this program; else
// the first on the path. Empty when there is no such program that can be started. Throws
// std::bad_alloc.
std::string findNorv(const std::string& asked);

// What to say of such a program, where findNorv found none.
std::string whyNoNorv(const std::string& asked);
