// The primes that a search sieves with, small and larger, in blocks.
#pragma once

#include "prime/small_primes.h"

#include <cstddef>
#include <cstdint>
#include <span>

// The end of a block, which is the beginning of the next. The first holds the odd small
// primes, and no other. The second is short, because short searches need no other. The
// rest are long enough that most of their time goes into crossing off, and short enough
// that no search waits long for one (some 100 microseconds).
constexpr std::uint32_t sieveBlockEnd(std::size_t block)
{
    constexpr std::uint32_t secondEnd = std::uint32_t{1} << 15;
    constexpr std::uint32_t span = std::uint32_t{1} << 17;
    if (block == 0)
        return largestSmallPrime + 1;
    return block == 1 ? secondEnd : static_cast<std::uint32_t>(block - 1) * span;
}

inline constexpr std::size_t sieveBlockLimit = 2050;

// The odd primes of a block in increasing order; block is below sieveBlockLimit. They are
// found at the first call for that block and kept for the process. Any thread may call;
// others that want the block wait. Empty for good when memory was short at that call. No
// block is empty otherwise.
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
