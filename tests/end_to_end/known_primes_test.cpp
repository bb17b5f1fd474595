// Published safe primes, found again from just below them.
#include "tests/end_to_end/run.h"
#include "tests/support/big.h"
#include "tests/support/prime_check.h"

#include <openssl/bn.h>

namespace
{

// Where a search has to start for its first window to start `below` the prime.
std::string baseBelow(const BigNumber& prime, int bits, unsigned below)
{
    const BigNumber window = fromHex(windowStart("0", bits, 1));
    const BigNumber base(BN_dup(prime.get()));
    BN_sub(base.get(), base.get(), window.get());
    BN_sub_word(base.get(), below);
    return toHex(base.get());
}

class KnownPrime : public EndToEnd
{
protected:
    Ending searchFrom(const std::string& base, Arguments options) const
    {
        options.insert(options.end(), {"-noPrompt", "-threads", "1", "-base", base});
        return run(options);
    }
};

TEST_F(KnownPrime, OfTheFirstOakleyGroupIsFound)
{
    const BigNumber prime(BN_get_rfc2409_prime_768(nullptr));
    expectEnding(288, resultText(toHex(prime.get())),
                 searchFrom(baseBelow(prime, 768, 1000), {"-safe"}));
}

TEST_F(KnownPrime, OfTheSecondOakleyGroupIsFound)
{
    const BigNumber prime(BN_get_rfc2409_prime_1024(nullptr));
    expectEnding(384, resultText(toHex(prime.get())),
                 searchFrom(baseBelow(prime, 1024, 1000), {"-safe"}));
}

TEST_F(KnownPrime, Of2048BitsIsFoundWhenItIsTheFirstCandidate)
{
    // An exit code of which some callers see nothing: 768 is 3 times 256.
    const BigNumber prime(BN_get_rfc3526_prime_2048(nullptr));
    expectEnding(768, resultText(toHex(prime.get())),
                 searchFrom(baseBelow(prime, 2048, 2), {}));
}

TEST_F(KnownPrime, IsPassedOverWhenTheWindowStartsAtIt)
{
    const BigNumber prime(BN_get_rfc2409_prime_768(nullptr));
    const Ending ending = searchFrom(baseBelow(prime, 768, 0), {});
    const BigNumber found = fromHex(digitsOf(ending.output));
    EXPECT_EQ(1, BN_cmp(found.get(), prime.get()));
}

} // namespace
