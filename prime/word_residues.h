// Residues of a big number modulo many small primes, several at a time.
#pragma once

#include "prime/big_number.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

// Stores `number` modulo primes[i], a prime below 2^32, in residues[i] for every i.
// One division of the big number serves as many primes as fit half a word with their
// product; the rest is done in words. A divisor of more than half a word would make the
// library divide a copy of the number, slowly, and leave the copy unwiped. Returns false
// when the library's division fails.
template <typename Prime>
bool computeWordResidues(const BIGNUM* number, std::span<const Prime> primes,
                         Prime* residues)
{
    constexpr std::uint64_t limit = std::numeric_limits<std::uint32_t>::max();
    static_assert(sizeof(BN_ULONG) == sizeof(std::uint64_t));
    for (std::size_t first = 0; first < primes.size();) {
        std::uint64_t product = primes[first];
        std::size_t end = first + 1;
        while (end < primes.size() && product * primes[end] <= limit)
            product *= primes[end++];

        const BN_ULONG residue = BN_mod_word(number, product);
        if (residue == static_cast<BN_ULONG>(-1))
            return false;
        for (; first < end; ++first)
            residues[first] = static_cast<Prime>(residue % primes[first]);
    }
    return true;
}

// The size of a group's product. At 256 bits the two stages cost about the same
// (measured).
inline constexpr int groupBits = 256;

// What computeGroupResidues works with, made once for many calls.
struct ResidueScratch {
    BigNumber product;
    SecretNumber remainder;
};

// The same for long numbers and thousands of primes, in two stages: modulo products
// of groupBits, then as above. D. J. Bernstein,
// How to find smooth parts of integers (2004), has the whole tree; two levels of
// it are the fastest for numbers of up to 8192 bits. Returns false when a library
// call fails.
bool computeGroupResidues(const BIGNUM* number, std::span<const std::uint32_t> primes,
                          std::uint32_t* residues, const ResidueScratch& scratch,
                          BN_CTX* context);
