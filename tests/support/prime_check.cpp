#include "tests/support/prime_check.h"

#include "tests/support/big.h"
#include "tests/support/gmp_oracle.h"

#include <cstdint>
#include <gmp.h>
#include <memory>
#include <openssl/bn.h>

namespace
{

constexpr int certain = 25;

// The largest prime that candidates of this size are sieved with, subtracted
// from the largest 64-bit number.
std::uint64_t windowSize(int bits)
{
    return ~std::uint64_t{oracle::smallPrime(oracle::sievedPrimes(bits) - 1)};
}

void reduce(BIGNUM* number, int bits)
{
    const Context context(BN_CTX_new());
    const BigNumber power(BN_new());
    BN_set_bit(power.get(), bits);
    BN_nnmod(number, number, power.get(), context.get());
}

} // namespace

bool isPrime(const std::string& number, bool safe)
{
    mpz_t value;
    mpz_init_set_str(value, number.c_str(), 16);
    bool prime = mpz_probab_prime_p(value, certain) != 0;
    if (safe) {
        mpz_fdiv_q_2exp(value, value, 1);
        prime = prime && mpz_probab_prime_p(value, certain) != 0;
    }
    mpz_clear(value);
    return prime;
}

int bitsOf(const std::string& number)
{
    return BN_num_bits(fromHex(number).get());
}

std::string windowStart(const std::string& number, int bits, unsigned long count)
{
    const BigNumber start = fromHex(number);
    const BigNumber distance(BN_new());
    BN_set_word(distance.get(), windowSize(bits));
    BN_mul_word(distance.get(), count);
    BN_add(start.get(), start.get(), distance.get());
    reduce(start.get(), bits);
    return toHex(start.get());
}

unsigned long windowsBetween(const std::string& base, const std::string& prime, int bits)
{
    const BigNumber distance = fromHex(prime);
    BN_sub(distance.get(), distance.get(), fromHex(base).get());
    reduce(distance.get(), bits - 1);
    BN_div_word(distance.get(), windowSize(bits));
    return static_cast<unsigned long>(BN_get_word(distance.get()));
}
