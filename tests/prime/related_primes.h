// Composites that pass more witnesses than nearly all others do.
#pragma once

#include "tests/support/gmp_oracle.h"

#include <cstdint>
#include <gmp.h>
#include <string>

// A product (k+1)(2k+1) with both factors prime, as hex digits; k has bits/2 - 1 bits.
// An eighth to a quarter of the witnesses pass. The same for the same seed.
inline std::string productOfRelatedPrimes(int bits, std::uint32_t seed)
{
    constexpr int certain = 25;
    mpz_t k;
    mpz_t first;
    mpz_t second;
    mpz_inits(k, first, second, nullptr);
    mpz_set_str(k, oracle::randomNumber(bits / 2 - 1, seed).c_str(), 16);
    do {
        mpz_add_ui(k, k, 1);
        mpz_add_ui(first, k, 1);
        mpz_mul_2exp(second, k, 1);
        mpz_add_ui(second, second, 1);
    } while (mpz_probab_prime_p(first, certain) == 0 ||
             mpz_probab_prime_p(second, certain) == 0);
    mpz_mul(first, first, second);
    std::string digits(mpz_sizeinbase(first, 16) + 2, '\0');
    mpz_get_str(digits.data(), -16, first);
    digits.resize(digits.find('\0'));
    mpz_clears(k, first, second, nullptr);
    return digits;
}
