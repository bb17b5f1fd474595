// Formatted 8-bit text to a stream. Nothing is flushed, and a failed write is
// not reported.
#pragma once

#include <cstdio>

// Prints onto standard output.
[[gnu::format(printf, 1, 2)]] void printOut(const char* format, ...);

// Prints onto `stream`, which is open and stays so.
[[gnu::format(printf, 2, 3)]] void printTo(std::FILE* stream, const char* format, ...);
