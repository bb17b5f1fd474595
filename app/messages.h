// The fixed texts on standard output, which callers may compare to the letter.
#pragma once

#include <cstdint>

// Prints the usage text.
void printUsage();

// Prints that a search for a prime of `bits` bits starts in `threads` threads. `safe`:
// 1 for a safe prime.
void printStarted(std::uint8_t safe, std::int32_t bits, std::int32_t threads);

// Prints that a search of `seconds` whole seconds found its prime, in `threads` threads.
void printFinished(std::int32_t seconds, std::uint8_t safe, std::int32_t bits,
                   std::int32_t threads);
