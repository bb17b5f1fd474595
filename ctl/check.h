// The check of a prime by libcrypto's own test, which shares no code with the search.
#pragma once

#include "prime/big_number.h"

#include <cstdint>

enum class CheckResult {
    good,
    wrongSize,    // not exactly as many bits as asked for
    belowBase,    // not above the base, and no search from there wraps around to it
    notPrime,     // composite, 0 or 1
    halfNotPrime, // a prime, but (p-1)/2 is not
    failed        // libcrypto failed, for lack of memory, say
};

// Whether `prime` is a prime of exactly `bits` bits, or with `safe` a safe prime, that a
// search from `base` may have found. Random witnesses of libcrypto's own: a composite
// passes with a chance below 2^-128 (BN_check_prime).
//
// base     may be null: then nothing is said about it
// threads  with 2 or more, and `safe`, both numbers are tested at once
// A search wraps around at the top of the size. It is spread over windows of 2^64
// numbers, from the base upward, and never over more than 2^16 of them. So a prime that
// is not above its base is good where it is reached in less than 2^80 steps.
CheckResult checkFound(const BIGNUM* prime, const BIGNUM* base, int bits, bool safe,
                       int threads);

// How many Miller-Rabin tests, each with a random witness, a prime of `bits` bits passes
// in checkFound.
std::uint64_t iterationsOfCheck(int bits);
