#include "tests/fakes/miller_rabin.h"

#include "prime/miller_rabin.h"

std::function<int(const BIGNUM*, int, BN_CTX*, int, GenCallback*)> fakeIsPrime =
    [](const BIGNUM*, int, BN_CTX*, int, GenCallback*) {
        return 1;
    };

std::function<int(int)> fakeIterationsFor = [](int) {
    return 3;
};

int iterationsFor(int bits)
{
    return fakeIterationsFor(bits);
}

int isPrime(const BIGNUM* w, int checks, BN_CTX* context, int flag, GenCallback* callback)
{
    return fakeIsPrime(w, checks, context, flag, callback);
}

// Runs no iteration ahead.
int isPrimeInTurn(const BIGNUM* w, BN_CTX* context, GenCallback* callback,
                  IterationAhead& /*ahead*/)
{
    return fakeIsPrime(w, 1, context, 0, callback);
}

// Only isPrime calls it.
int millerRabin(const BIGNUM* /*w*/, int /*checks*/, BN_CTX* /*context*/,
                GenCallback* /*callback*/, PrimeTestStatus* /*status*/)
{
    return 0;
}
