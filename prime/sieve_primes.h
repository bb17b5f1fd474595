// The primes that a search sieves with, small and larger, in blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Numbers in a block. Its primes are found in some 40 microseconds, so that no search
// waits long for them. All small primes lie in the first block.
inline constexpr std::uint32_t sieveBlockSpan = std::uint32_t{1} << 15;
inline constexpr std::size_t sieveBlockLimit = 8192;

// The odd primes from block * sieveBlockSpan up to the next block, in increasing
// order; block is below sieveBlockLimit. They are found at the first call for that block
// and kept for the process. Any thread may call; others that want the block wait.
// Empty for good when memory was short at that call. No block is empty otherwise.
std::span<const std::uint32_t> sievePrimes(std::size_t block);

// A place among the sieve's primes, between two of them.
struct PrimeCursor {
    std::size_t block = 0;
    std::size_t inBlock = 0; // how many primes of this block lie before the cursor
    std::size_t passed = 0;  // how many primes lie before the cursor in all
};

// Takes the next primes and moves `cursor` past them: at most `count`, and only from one
// block, so call again for more. Empty when `count` is 0; empty for good when memory for
// the block was short or the last block has ended.
std::span<const std::uint32_t> takePrimes(PrimeCursor& cursor, std::size_t count);
