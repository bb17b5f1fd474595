// Residues of a big number modulo many small primes, several at a time.
#pragma once

#include "prime/big_number.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

// Up to this size the library divides faster by half a word than by a whole one,
// for which it makes a copy of the number.
inline constexpr int largestHalfWordBits = 256;

// Stores `number` modulo primes[i] in residues[i] for every i. One division of
// the big number serves as many primes as fit a word with their product; the
// rest is done in words. Returns false when the library's division fails.
template <typename Prime>
bool computeWordResidues(const BIGNUM* number, std::span<const Prime> primes,
                         Prime* residues)
{
    static_assert(sizeof(BN_ULONG) == sizeof(std::uint64_t));
    const std::uint64_t limit = BN_num_bits(number) <= largestHalfWordBits
                                    ? std::numeric_limits<std::uint32_t>::max()
                                    : std::numeric_limits<std::uint64_t>::max();
    for (std::size_t first = 0; first < primes.size();) {
        std::uint64_t product = primes[first];
        std::size_t end = first + 1;
        while (end < primes.size() && product <= limit / primes[end])
            product *= primes[end++];

        const BN_ULONG residue = BN_mod_word(number, product);
        if (residue == static_cast<BN_ULONG>(-1))
            return false;
        for (; first < end; ++first)
            residues[first] = static_cast<Prime>(residue % primes[first]);
    }
    return true;
}

// What computeGroupResidues works with, made once for many calls.
struct ResidueScratch {
    BigNumber product;
    SecretNumber remainder;
};

// The same for numbers of any length and thousands of primes below 2^32, in two
// stages: modulo products of largestHalfWordBits, then as above. D. J. Bernstein,
// How to find smooth parts of integers (2004), has the whole tree; two levels of
// it are the fastest for numbers of up to 8192 bits. Returns false when a library
// call fails.
bool computeGroupResidues(const BIGNUM* number, std::span<const std::uint32_t> primes,
                          std::uint32_t* residues, const ResidueScratch& scratch,
                          BN_CTX* context);
