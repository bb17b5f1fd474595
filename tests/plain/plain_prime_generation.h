// The plain search, without any shortcut: each candidate from nextCandidate, each
// iteration with one exponentiation by a sliding window.
//
// With the same witnesses generatePrime sends the same events and ends at the same
// number, unless a witness lets a composite pass that the shortcuts prove to be one:
// they reject it without events 1. They accept nothing that this search rejects.
#pragma once

#include "prime/big_number.h"

// As generatePrime. Does not read eventsUnwatched: it leaves no event out.
int plainGeneratePrime(BIGNUM* candidate, int ignoredBits, int mode,
                       const BIGNUM* ignoredAdd, const BIGNUM* ignoredRemainder,
                       GenCallback* callback, BN_CTX* context);
