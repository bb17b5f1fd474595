// What norvctl says to people, on standard error.
#pragma once

#include <string>
#include <system_error>

// Writes "norvctl: " and the line, with a line end. A line that cannot be written is
// lost.
void say(const std::string& line);

// "No such file or directory": alike on every system, where the error is a usual one.
std::string errorText(const std::error_code& error);

// "850 ms", "12 s", "4.2 min", "3.1 h", "2.5 days": two digits that matter.
std::string durationText(double seconds);

// "safe prime of 2048 bits, 2 threads".
std::string searchText(int bits, bool safe, int threads);
