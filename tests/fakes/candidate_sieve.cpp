#include "tests/fakes/candidate_sieve.h"

#include "prime/candidate_sieve.h"

std::function<int(BIGNUM*, int, int, std::uint16_t*, BN_CTX*)> fakeNextCandidate =
    [](BIGNUM*, int, int, std::uint16_t*, BN_CTX*) {
        return 1;
    };

int nextCandidate(BIGNUM* candidate, int bits, int mode, std::uint16_t* residues,
                  BN_CTX* context)
{
    return fakeNextCandidate(candidate, bits, mode, residues, context);
}
