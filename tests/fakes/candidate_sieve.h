// A sieve that gives what a test says: linked instead of the real one.
#pragma once

#include <cstdint>
#include <functional>
#include <openssl/bn.h>

// What nextCandidate does. By default it leaves the candidate alone and returns 1.
extern std::function<int(BIGNUM* candidate, int bits, int mode, std::uint16_t* residues,
                         BN_CTX* context)>
    fakeNextCandidate;
