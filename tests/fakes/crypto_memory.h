// libcrypto's memory, watched: the library takes every block from here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Lets the library's allocation of this number, counted from 0 and from now on,
// fail: it alone. A negative number lets none fail.
void failCryptoAllocation(int number);

// How many allocations the library asked for since the last failCryptoAllocation.
int cryptoAllocations();

// Makes the library allocate what it allocates once, at its first error, and keeps.
void settleCryptoMemory();

// How many blocks the library holds now, without those of its error queue, which
// this clears. The leak sanitizer sees none of them: the watch keeps them all.
int cryptoBlocks();

// How many of the blocks that the library holds now contain these bytes.
int cryptoBlocksWith(const std::vector<std::uint8_t>& bytes);
