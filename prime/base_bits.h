// The size of the prime that this process searches for.
#pragma once

#include <cstdint>

// Bits of every candidate and of the result: 8 for each byte of the base.
// Written once before any search starts, then only read.
extern std::int32_t baseBits;
