// What the command line says about the program's output. Written before any
// thread starts, then only read.
#pragma once

#include <cstdint>

// 1: no prompt, no messages, no "Result:", no progress marks on standard output.
extern std::uint8_t noPrompt;

// The file that progress marks are appended to instead of standard output, also
// when noPrompt is set. Null: none. Borrowed from the command line.
extern const wchar_t* outPrompt;
