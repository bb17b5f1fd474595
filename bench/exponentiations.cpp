#include "bench/exponentiations.h"

#include <chrono>
#include <openssl/bn.h>

Exponentiations exponentiations;

// The linker's names for the two ends of a call that it leads elsewhere.
int libraryExponentiation(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                          const BIGNUM* modulus, BN_CTX* context,
                          BN_MONT_CTX* montgomery) __asm__("__real_BN_mod_exp_mont");
int timedExponentiation(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                        const BIGNUM* modulus, BN_CTX* context,
                        BN_MONT_CTX* montgomery) __asm__("__wrap_BN_mod_exp_mont");

int timedExponentiation(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                        const BIGNUM* modulus, BN_CTX* context, BN_MONT_CTX* montgomery)
{
    const auto start = std::chrono::steady_clock::now();
    const int done =
        libraryExponentiation(result, base, exponent, modulus, context, montgomery);
    const std::chrono::duration<double> elapsed =
        std::chrono::steady_clock::now() - start;
    ++exponentiations.count;
    exponentiations.seconds += elapsed.count();
    return done;
}
