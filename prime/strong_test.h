// The strong test to the base 2: a proof that a number is composite, for less than an
// iteration with a random witness costs.
//
// What it proves composite needs no iteration. Of what it lets pass it says nothing:
// strong pseudoprimes to the base 2 are known, and go through the iterations.
// C. Pomerance, J. L. Selfridge and S. S. Wagstaff, The pseudoprimes to 25*10^9,
// Mathematics of Computation 35 (1980).
#pragma once

#include "prime/big_number.h"
#include "prime/exponentiation_way.h"

#include <array>

enum class StrongVerdict {
    unknown, // a library call failed
    composite,
    passed
};

// What the tests of a search work with, made once for many. Without memory for it
// (null members) no test is made.
struct StrongTester {
    Montgomery montgomery;
    Montgomery second;
};
StrongTester makeStrongTester();

// Tests `w`, odd and of at least 256 bits, by any way but twoAtOnce. `context` lends
// temporaries, which are wiped.
StrongVerdict strongTest(const StrongTester& tester, const BIGNUM* w,
                         ExponentiationWay way, BN_CTX* context);

// Tests two such numbers of one size at once.
std::array<StrongVerdict, 2> strongTestOfTwo(const StrongTester& tester,
                                             const BIGNUM* first, const BIGNUM* second,
                                             BN_CTX* context);
