// Rejections without a witness: what a search proves composite before it would test it.
#pragma once

#include "prime/search_sieve.h"
#include "prime/strong_test.h"

#include <cstdint>

// Of one search. Sieve and rejection go together from candidate to candidate.
struct Rejection {
    StrongTester tester;
    // The later candidate that was tested together with one before it.
    // Not taken from the context: if the context failed once, it gives no more numbers in
    // that frame, and every test of the search would fail.
    SecretNumber ahead;
    // The verdict is kept even when a larger prime crosses that candidate off before its
    // turn.
    StrongVerdict aheadVerdict = StrongVerdict::unknown; // unknown: there is none
};

// For the search of `sieve`. Where memory is short, fewer or no tests are made.
Rejection makeRejection(const SearchSieve& sieve);

// Whether a strong test proves the candidate that `sieve` yielded last composite.
// Never true of a prime; false when no test saves time at this size, when the sieve is
// idle and when a library call fails. May test a later candidate as well, and then
// remembers that verdict.
bool isProvenComposite(Rejection& rejection, const SearchSieve& sieve,
                       const BIGNUM* candidate, BN_CTX* context);

// The same of (p-1)/2 of the candidate p, which `half` receives.
bool isHalfProvenComposite(const Rejection& rejection, const SearchSieve& sieve,
                           const BIGNUM* candidate, BIGNUM* half, BN_CTX* context);
