// An exponentiation by BN_mod_exp_mont: the cost of a Miller-Rabin iteration that runs
// alone by it, without the iteration's other steps.
#pragma once

#include "prime/big_number.h"

// A full-size exponent, a random witness, and an odd modulus whose Montgomery form
// is made once, as the engine does for the iterations of one candidate.
struct BareExponentiation {
    BigNumber modulus;
    BigNumber exponent;
    BigNumber witness;
    BigNumber result;
    Context context;
    Montgomery montgomery;
};

// For numbers of `bits` bits, a multiple of 8. Throws std::bad_alloc.
BareExponentiation makeBareExponentiation(int bits);

// Returns false on failure.
bool exponentiate(const BareExponentiation& bare);
