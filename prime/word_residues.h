// Residues of a big number modulo many primes, several at a time.
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

// The distance from a long number up to the next multiple of each of thousands of primes:
// minus the number, modulo the prime. Computed in words alone: libcrypto divides a big
// number word by word, and each division takes as long as ten multiplications.
//
// words      the number's 64-bit words, the least significant first; one or more
// primes     odd, in increasing order; one or more
// distances  as many entries as primes; receives less than the prime for each
void computeDistances(std::span<const std::uint64_t> words,
                      std::span<const std::uint32_t> primes, std::uint32_t* distances);
