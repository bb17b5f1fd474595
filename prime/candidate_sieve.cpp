#include "prime/candidate_sieve.h"

#include "prime/big_number.h"
#include "prime/random_bytes.h"
#include "prime/word_residues.h"

#include <cassert>
#include <memory>
#include <new>
#include <openssl/crypto.h>

namespace
{

// Up to this size the candidate plus an offset fits a word, and the scan can
// stop at the square root.
constexpr int largestWordBits = 31;
constexpr std::uint64_t largestWordOffset = 0x7fffffff;

// The start a little above the given number, cut to `bits` bits and with its
// top bit forced. An odd number goes up by 2, an even one by 3.
// docs/fixed-behaviour.md: start-above, one-top-bit, above-the-top
bool startFromGiven(BIGNUM* candidate, int bits, BN_CTX* context)
{
    const BigNumber modulus(BN_new());
    if (!modulus || !BN_set_bit(modulus.get(), bits))
        return false;
    return BN_mod(candidate, candidate, modulus.get(), context) &&
           BN_add_word(candidate, 2) && BN_set_bit(candidate, 0) &&
           BN_set_bit(candidate, bits - 1);
}

// An odd random start of exactly `bits` bits with its two top bits set.
bool startFromRandom(BIGNUM* candidate, int bits)
{
    if (bits < 2)
        return false;
    const int count = (bits + 7) / 8;
    const auto size = static_cast<std::size_t>(count);
    const unsigned int topBit = static_cast<unsigned int>(bits - 1) % 8;
    const std::unique_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[size]);
    if (!bytes)
        return false;

    bool loaded = false;
    if (getRandomBytes(bytes.get(), count) > 0) {
        unsigned int first = bytes[0];
        if (topBit == 0) {
            first = 1;
            bytes[1] |= 0x80;
        } else {
            first |= 3U << (topBit - 1);
        }
        bytes[0] = static_cast<std::uint8_t>(first & ~(0xFFU << (topBit + 1)));
        bytes[size - 1] |= 1;
        loaded = BN_bin2bn(bytes.get(), count, candidate) != nullptr;
    }
    OPENSSL_cleanse(bytes.get(), size);
    return loaded;
}

bool computeResidues(const BIGNUM* start, std::size_t used, std::uint16_t* residues)
{
    return computeWordResidues(start, std::span(smallPrimes).subspan(1, used - 1),
                               residues + 1);
}

// Whether no prime used divides start + delta or, in a safe search, half of what lies one
// below it. Up to 31 bits, only the primes up to the square root are tried.
bool survives(const BIGNUM* start, int bits, bool safe, std::size_t used,
              const std::uint16_t* residues, std::uint64_t delta)
{
    const bool fitsWord = bits <= largestWordBits && delta <= largestWordOffset;
    const std::uint64_t value = fitsWord ? BN_get_word(start) + delta : 0;
    const std::uint64_t highestRejected = safe ? 1 : 0;
    for (std::size_t i = 1; i < used; ++i) {
        const std::uint64_t prime = smallPrimes[i];
        if (fitsWord && prime * prime > value)
            return true;
        if ((residues[i] + delta) % prime <= highestRejected)
            return false;
    }
    return true;
}

} // namespace

int nextCandidate(BIGNUM* candidate, int bits, int mode, std::uint16_t* residues,
                  BN_CTX* context)
{
    const auto used = static_cast<std::size_t>(trialDivisions(bits));
    const std::uint64_t maxDelta = maxDeltaFor(bits);
    const bool fromBase = (mode & modeFromBase) != 0;
    const bool safe = (mode & modeSafe) != 0;
    // Even, so that candidates stay odd; 4 keeps them 3 modulo 4.
    const std::uint64_t step = safe ? 4 : 2;

    for (;;) {
        if (fromBase ? !startFromGiven(candidate, bits, context)
                     : !startFromRandom(candidate, bits))
            return 0;
        if (safe && !BN_set_bit(candidate, 1))
            return 0;
        if (!computeResidues(candidate, used, residues))
            return 0;

        std::uint64_t delta = 0;
        while (delta <= maxDelta &&
               !survives(candidate, bits, safe, used, residues, delta))
            delta += step;
        if (delta > maxDelta) {
            // The search from this base is over; a random one tries elsewhere.
            if (fromBase)
                return 0;
            continue;
        }

        if (!BN_add_word(candidate, delta))
            return 0;
        // One bit more means that the offset passed the top of the size: the next round
        // wraps around within the bit length, or draws a new start.
        if (BN_num_bits(candidate) == bits) {
            assert(BN_is_odd(candidate) && (!safe || BN_is_bit_set(candidate, 1)));
            return 1;
        }
    }
}
