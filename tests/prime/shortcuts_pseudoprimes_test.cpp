// Composites that the strong test to the base 2 lets pass, met by whole searches: the
// iterations judge them as they judge any other number.
#include "prime/shortcuts.h"

#include "prime/strong_test.h"
#include "tests/prime/published_pseudoprimes.h"
#include "tests/prime/related_primes.h"
#include "tests/prime/standing_clocks.h"
#include "tests/support/prime_check.h"

#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <ostream>
#include <string>

namespace
{

bool passesTheStrongTest(const std::string& number)
{
    const BigNumber w = fromHex(number);
    const Context context = newContext();
    return strongTest(makeStrongTester(), w.get(), ExponentiationWay::slidingWindow,
                      context.get()) == StrongVerdict::passed;
}

std::string baseBelow(const std::string& number)
{
    return oracle::sum(number, -2);
}

class RelatedPrimes : public ClocksThatStandStill
{
protected:
    static constexpr int bits = 512;

    RelatedPrimes()
        : ClocksThatStandStill(bits)
    {
    }

    // Calls judge(number) for each clock and each of some products of two primes that
    // are, or are not, strong pseudoprimes to the base 2.
    template <typename Judge>
    static void forProducts(bool pseudoprimes, Judge judge)
    {
        int found = 0;
        for (std::uint32_t seed = 1; found < 4; ++seed) {
            const std::string number = productOfRelatedPrimes(bits + 2, seed);
            if (bitsOf(number) != bits || passesTheStrongTest(number) != pseudoprimes)
                continue;
            ++found;
            for (std::int32_t clock = 1; clock <= 6; ++clock) {
                stopAt(clock);
                judge(number);
            }
        }
    }
};

TEST_F(RelatedPrimes, ThatPassAreJudgedAsByThePlainPath)
{
    int accepted = 0;
    int rejected = 0;
    forProducts(true, [&](const std::string& number) {
        expectTheSame(baseBelow(number));
        ++(search(baseBelow(number)).number == number ? accepted : rejected);
    });
    EXPECT_GT(accepted, 0);
    EXPECT_GT(rejected, accepted);
}

// Where the clocks' one witness lets a composite pass, the base 2 may still reject it.
TEST_F(RelatedPrimes, ThatDoNotPassAreRejectedWhateverTheWitness)
{
    int acceptedPlainly = 0;
    forProducts(false, [&](const std::string& number) {
        EXPECT_NE(number, search(baseBelow(number)).number);
        acceptedPlainly += searchPlainly(baseBelow(number)).number == number ? 1 : 0;
    });
    EXPECT_GT(acceptedPlainly, 0);
}

struct Number {
    const char* name;
    std::string (*digits)();
};

std::ostream& operator<<(std::ostream& out, const Number& number)
{
    return out << number.name;
}

class Published : public ClocksThatStandStill, public testing::WithParamInterface<Number>
{
protected:
    Published()
        : ClocksThatStandStill(bitsOf(GetParam().digits()))
    {
    }
};

TEST_P(Published, StrongPseudoprimeToTheBaseTwoIsRejectedByTheIterations)
{
    const std::string number = GetParam().digits();
    ASSERT_TRUE(passesTheStrongTest(number));
    stopAt(1);
    expectTheSame(baseBelow(number));
    const Outcome outcome = search(baseBelow(number));
    EXPECT_NE(number, outcome.number);
    EXPECT_TRUE(isPrime(outcome.number, false));
}

INSTANTIATE_TEST_SUITE_P(Numbers, Published,
                         testing::Values(Number{"Arnault", arnaultsNumber},
                                         Number{"Fermat10", tenthFermatNumber}));

} // namespace
