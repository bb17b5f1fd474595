// The arguments of this process.
#pragma once

#include <string>
#include <vector>

// The arguments, the program's own name first, of which main received these: on POSIX
// their bytes, on Windows UTF-8, split as other programs split them.
std::vector<std::string> argumentsOf(int count, const char* const* received);
