// The sieve of a whole search: what nextCandidate would yield, found segment by
// segment, and which of it a deeper sieve knows to be composite.
//
// Small primes, which decide what is a candidate, are crossed off in one short segment
// after another. Each larger prime is crossed off once, in a segment as long as most
// searches, and then forgotten: in slices between candidates, so that no event waits
// for more than about one exponentiation. After the long segment the sieve starts over.
// C. Bays and R. H. Hudson, The segmented sieve of Eratosthenes and primes in
// arithmetic progressions to 10^12, BIT 17 (1977).
#pragma once

#include "prime/secret_array.h"
#include "prime/segment.h"
#include "prime/sieve_plan.h"
#include "prime/sieve_primes.h"
#include "prime/word_residues.h"

#include <cstddef>
#include <cstdint>
#include <openssl/bn.h>

// The most larger primes whose indices are computed together.
inline constexpr std::size_t largerAtOnce = 1024;

struct SearchSieve {
    int bits = 0;
    SievePlan plan;
    SecretNumber start; // null: the sieve is idle and knows nothing

    // While there is a start: start + index * step is the candidate yielded last, it
    // lies in both segments and `rejected` has it left.
    std::uint32_t index = 0;
    Segment rejected;  // what has a small factor; moves up with the candidates
    Segment composite; // what has a larger one; begins at the start
    // The primes that `composite` has crossed off are those before this one.
    PrimeCursor larger;

    // smallNext[i]: the first index after `rejected` of a number that the i-th small
    // prime divides. Together they give the start by the Chinese remainder theorem.
    SecretArray<std::uint32_t> smallNext;
    SecretArray<std::uint32_t> indices; // of the larger primes at hand
    ResidueScratch scratch;
};

// The sieve of a search of this size by this plan. Idle for good when the plan has no
// reach or memory is short.
SearchSieve makeSearchSieve(int bits, const SievePlan& plan);

// Does what nextCandidate does with modeFromBase: the same candidates in the
// same order, the same result. `mode` is the plan's, `residues` and `context` as there.
int nextSievedCandidate(SearchSieve& sieve, BIGNUM* candidate, int mode,
                        std::uint16_t* residues, BN_CTX* context);

// Crosses off one more slice of the larger primes. Nothing when all are, or when a
// library call fails or memory is short: the sieve then knows less. `context` lends
// temporaries.
void sieveSlice(SearchSieve& sieve, BN_CTX* context);

// Whether the sieve knows a factor of the candidate yielded last, or, with
// halves, one of its (p-1)/2. Never wrong, unlike a test whose witnesses repeat.
bool knowsFactor(const SearchSieve& sieve);
