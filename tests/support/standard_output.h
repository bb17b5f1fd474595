// What a function writes to this process's standard output, byte for byte.
#pragma once

#include <functional>
#include <string>

// Calls `write` while standard output is a file, and returns what the file then holds.
// GoogleTest's own capture reads as text: on Windows it ends at the first 0x1A, and it
// hides line ends that were changed. What the C library still has buffered is not
// counted. Throws std::runtime_error when no such file can be made.
std::string standardOutputOf(const std::function<void()>& write);
