#include "tests/fakes/prime_generation.h"

#include "prime/prime_generation.h"

std::function<int(BIGNUM*, int, GenCallback*, BN_CTX*)> fakeGeneratePrime =
    [](BIGNUM*, int, GenCallback*, BN_CTX*) {
        return 0;
    };

int generatePrime(BIGNUM* candidate, int /*ignoredBits*/, int mode,
                  const BIGNUM* /*ignoredAdd*/, const BIGNUM* /*ignoredRemainder*/,
                  GenCallback* callback, BN_CTX* context)
{
    return fakeGeneratePrime(candidate, mode, callback, context);
}
