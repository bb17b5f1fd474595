// The primes that a search sieves with, small ones and those beyond, in blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Numbers in a block. Finding its primes takes some 40 microseconds, so that no
// search waits for them; all small primes lie in the first.
inline constexpr std::uint32_t sieveBlockSpan = std::uint32_t{1} << 15;
inline constexpr std::size_t sieveBlockLimit = 8192;

// The odd primes from block * sieveBlockSpan up to the next block, in increasing
// order; block below sieveBlockLimit. Found at the first call for that block and
// kept for the process: any thread, others that want the block wait meanwhile.
// Empty, for good, when memory was short at that call; no block is empty otherwise.
std::span<const std::uint32_t> sievePrimes(std::size_t block);

// A place among the sieve's primes, between two of them.
struct PrimeCursor {
    std::size_t block = 0;
    std::size_t inBlock = 0; // primes of the block before it
    std::size_t passed = 0;  // primes of all blocks before it
};

// The primes after `cursor`, at most `count`, all of one block; moves the cursor past
// them. Empty when the block has none, since memory was short, or when the blocks
// end: then for good.
std::span<const std::uint32_t> takePrimes(PrimeCursor& cursor, std::size_t count);
