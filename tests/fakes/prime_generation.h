// A prime generation that a test scripts: linked instead of the real engine.
#pragma once

#include "prime/big_number.h"

#include <functional>

// What generatePrime does with the arguments that mean something. By default it
// finds nothing. Called by several threads at once when a test starts several.
extern std::function<int(BIGNUM* candidate, int mode, GenCallback* callback,
                         BN_CTX* context)>
    fakeGeneratePrime;
