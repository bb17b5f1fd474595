// A primality test with the verdicts of a test's choice: linked instead of the
// real one.
#pragma once

#include "prime/big_number.h"

#include <functional>

// What isPrime answers. By default 1.
extern std::function<int(const BIGNUM* w, int checks, BN_CTX* context, int flag,
                         GenCallback* callback)>
    fakeIsPrime;

// What iterationsFor answers, by size. By default 3 for every size.
extern std::function<int(int bits)> fakeIterationsFor;
