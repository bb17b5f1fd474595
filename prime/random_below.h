// Random big numbers below a bound, from the bytes of getRandomBytes.
#pragma once

#include <openssl/bn.h>

// Sets `result` to a random number of at least 0 and below `bound`. The steps
// are those that the library describes for BN_priv_rand_range_ex: draw, compare,
// subtract at most twice, 100 draws at most. The bytes come from getRandomBytes.
//
// result  receives the value; not the same object as bound. Unchanged when
//         bound is 0 or negative or no bytes can be drawn
// Returns 1, or 0 when bound is 0 or negative, a library call or an allocation
// failed, or the hundredth draw was reached. Any thread.
int getRandomBelow(BIGNUM* result, const BIGNUM* bound);
