// The sieve of a whole search. It yields the candidates that nextCandidate would yield,
// segment by segment, and knows which of them a larger prime divides.
//
// Small primes decide what is a candidate: their multiples are crossed off in one short
// segment after another. The multiples of each larger prime are crossed off once, in one
// segment that is as long as most searches; then the prime is forgotten. This is done in
// slices between candidates, so that no event waits for more than about one
// exponentiation. After the long segment the sieve starts over.
// C. Bays and R. H. Hudson, The segmented sieve of Eratosthenes and primes in
// arithmetic progressions to 10^12, BIT 17 (1977).
#pragma once

#include "prime/big_number.h"
#include "prime/secret_array.h"
#include "prime/segment.h"
#include "prime/sieve_memory.h"
#include "prime/sieve_plan.h"
#include "prime/sieve_primes.h"

#include <cstddef>
#include <cstdint>
#include <openssl/bn.h>

// How many larger primes at most have their indices computed at once.
inline constexpr std::size_t largerAtOnce = 1024;

struct SearchSieve {
    int bits = 0;
    SievePlan plan;
    SieveMemory memory;               // of both segments
    SecretNumber start;               // null: the sieve is idle and knows nothing
    SecretArray<std::uint64_t> words; // of the start, the least significant first

    // While there is a start: the candidate yielded last is start + index * step. It
    // lies in both segments, and it is not crossed off in `rejected`.
    std::uint32_t index = 0;
    // Crossed off here: a number that has a small factor, or, for a safe prime, whose
    // (p-1)/2 has one. The segment moves up with the candidates.
    Segment rejected;
    // Crossed off here: a number that has a larger factor, or, with halves, whose
    // (p-1)/2 has one. The segment begins at the start.
    Segment composite;
    // The multiples of all larger primes before the cursor are crossed off in
    // `composite`.
    PrimeCursor larger;

    // smallNext[i]: the first index at or after the end of `rejected` whose number the
    // i-th small prime divides. By the Chinese remainder theorem the start can be
    // computed from them.
    SecretArray<std::uint32_t> smallNext;
    SecretArray<std::uint32_t> indices; // of the larger primes at hand
};

// The sieve of a search of this size by this plan, with shorter segments where many
// sieves share the process. Idle for good when the plan has no reach or memory is short.
SearchSieve makeSearchSieve(int bits, const SievePlan& plan);

// Does what nextCandidate does with modeFromBase: the same candidates in the
// same order, the same result. `mode` is the plan's, `residues` and `context` as there.
int nextSievedCandidate(SearchSieve& sieve, BIGNUM* candidate, int mode,
                        std::uint16_t* residues, BN_CTX* context);

// Crosses off the multiples of one more slice of the larger primes. Does nothing when all
// have been or when memory is short; the sieve then knows fewer factors.
void sieveSlice(SearchSieve& sieve);

// Whether the sieve knows a factor of the candidate yielded last, or a factor of its
// (p-1)/2, with halves. Never wrong, unlike a test whose witnesses repeat.
bool knowsFactor(const SearchSieve& sieve);

// The distance, in steps, from the candidate yielded last to the next number of which the
// sieve knows no factor. That number will be a candidate. 0 when there is none in the
// segment of the small primes, and when the sieve is idle.
std::uint32_t stepsToNextUnknown(const SearchSieve& sieve);
