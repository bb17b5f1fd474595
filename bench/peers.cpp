#include "bench/peers.h"

#include "prime/big_number.h"

#include <cstddef>
#include <gmp.h>
#include <vector>

#ifdef NORV_BENCH_BOTAN
#include <botan/auto_rng.h>
#include <botan/numthry.h>
#endif

bool findWithLibcrypto(int bits, bool safe, BN_GENCB* callback)
{
    const BigNumber prime(BN_new());
    return prime && BN_generate_prime_ex(prime.get(), bits, safe ? 1 : 0, nullptr,
                                         nullptr, callback) == 1;
}

bool findWithGmp(BIGNUM* number)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(BN_num_bytes(number)));
    const int size = static_cast<int>(bytes.size());
    BN_bn2bin(number, bytes.data());
    mpz_t prime;
    mpz_init(prime);
    mpz_import(prime, bytes.size(), 1, 1, 1, 0, bytes.data());
    mpz_nextprime(prime, prime);
    const bool sameSize = mpz_sizeinbase(prime, 2) == 8 * bytes.size();
    if (sameSize)
        mpz_export(bytes.data(), nullptr, 1, 1, 1, 0, prime);
    mpz_clear(prime);
    return sameSize && BN_bin2bn(bytes.data(), size, number) == number;
}

#ifdef NORV_BENCH_BOTAN

const bool botanIsBuiltIn = true;

bool findWithBotan(int bits, bool safe)
{
    static Botan::AutoSeeded_RNG generator;
    const auto size = static_cast<std::size_t>(bits);
    const Botan::BigInt prime = safe ? Botan::random_safe_prime(generator, size)
                                     : Botan::random_prime(generator, size);
    return prime.bits() == size;
}

#else

const bool botanIsBuiltIn = false;

bool findWithBotan(int /*bits*/, bool /*safe*/)
{
    return false;
}

#endif
