// The command that ends a run of norv.
#pragma once

#include <string>

// Releases the semaphore of this name (UTF-8) once. Returns the program's exit code,
// after it has said what went wrong.
int stop(const std::string& name);
