// The plain search, without the sieve of a whole search, and with a witness for every
// test: each candidate from nextCandidate, each iteration with one exponentiation by a
// sliding window.
//
// With the same witnesses generatePrime sends the same events and ends at the same
// number, with one exception: a composite that a witness lets pass, but that
// generatePrime proves composite in another way. It rejects such a number without events
// 1. It accepts nothing that this search rejects.
#pragma once

#include "prime/big_number.h"

// As generatePrime. Does not read eventsUnwatched: it leaves no event out.
int plainGeneratePrime(BIGNUM* candidate, int ignoredBits, int mode,
                       const BIGNUM* ignoredAdd, const BIGNUM* ignoredRemainder,
                       GenCallback* callback, BN_CTX* context);
