// Where the shortcuts do differ from the plain path: at a composite that clocks which
// stand still, and so one witness for all iterations, let pass. The sieve may know its
// factor. And that they differ nowhere else.
#include "prime/shortcuts.h"

#include "prime/sieve_primes.h"
#include "tests/prime/related_primes.h"
#include "tests/prime/standing_clocks.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>

namespace
{

constexpr int bits = 256;

// A number with this factor, between the small primes and those of the sieve's first
// slice, that passes with the witness that belongs to this clock.
struct Made {
    std::int32_t clock;
    const char* number;
    unsigned long factor;
};

std::ostream& operator<<(std::ostream& out, const Made& made)
{
    return out << made.number << " at " << made.clock;
}

// The number is the factor times a prime q that divides b - 1 or b + 1, for the
// witness b. So b has order 1 or 2 modulo q; of many primes one was taken modulo which
// the order of b, up to the same power of two, divides q - 1.
constexpr Made madeNumbers[] = {
    {469, "F5803ED1FE68441B103E99096AB269D3B2D2C6CCC25DF6917925AEF3BEEC6C1B", 491},
    {847, "CC81009FFADE96C5651242AF9ED67A4403111E44B0AB23FAE8D394B6181828A9", 409},
    {1025, "E0803820EE898C63B2F8DE4F9FA115D77576117C230BD89E42AC9E17715BB105", 449},
    {1658, "D16457ABD6BC59D338F62A1A37C5BC8E1C6457ABD5EAF57B8DF0D2E9758AF17D", 1249}};

class MadeNumber : public ClocksThatStandStill, public testing::WithParamInterface<Made>
{
protected:
    MadeNumber()
        : ClocksThatStandStill(bits)
    {
        stopAt(GetParam().clock);
    }

    const std::string number = GetParam().number;
    const std::string base = oracle::sum(number, -2);
};

TEST_P(MadeNumber, IsACompositeWithAFactorThatOnlyTheSieveKnows)
{
    const unsigned long factor = GetParam().factor;
    EXPECT_EQ(bits, bitsOf(number));
    EXPECT_EQ(0U, oracle::remainder(number, factor));
    EXPECT_FALSE(isPrime(number, false));
    EXPECT_GT(factor, oracle::smallPrime(oracle::sievedPrimes(bits) - 1));
    EXPECT_EQ(number, oracle::nextCandidate(base, {bits, false}));
}

TEST_P(MadeNumber, IsTakenForAPrimeByThePlainPath)
{
    const Outcome plain = searchPlainly(base);
    EXPECT_EQ(1, plain.result);
    EXPECT_EQ(number, plain.number);
    std::vector<Event> events{{0, 0}};
    for (int i = 0; i < 64; ++i)
        events.push_back({1, i});
    EXPECT_EQ(events, plain.events);
}

// And the search goes on as the plain path's does from there.
TEST_P(MadeNumber, IsRejectedWithTheShortcuts)
{
    Outcome next = searchPlainly(number);
    ASSERT_TRUE(isPrime(next.number, false));
    ASSERT_EQ(oracle::firstPrime(number, {bits, false}), next.number);
    for (Event& event : next.events)
        event.value += event.code == 0 ? 1 : 0;
    next.events.insert(next.events.begin(), {0, 0});
    EXPECT_EQ(next, search(base));
}

INSTANTIATE_TEST_SUITE_P(AllOfThem, MadeNumber, testing::ValuesIn(madeNumbers));

// What the plain path rejects or takes for a prime, the shortcuts do: all of it, but for
// composites with a factor that the sieve knows.
class OtherNumbers : public ClocksThatStandStill
{
protected:
    OtherNumbers()
        : ClocksThatStandStill(bits)
    {
    }
};

TEST_F(OtherNumbers, ThatAnotherClockFindsOutAreRejectedByBoth)
{
    for (const Made& clock : madeNumbers) {
        stopAt(clock.clock);
        for (const Made& made : madeNumbers) {
            if (made.clock == clock.clock)
                continue;
            const std::string base = oracle::sum(made.number, -2);
            expectTheSame(base);
            EXPECT_NE(made.number, search(base).number);
        }
    }
}

// Of composites with large factors alone the sieve knows nothing.
TEST_F(OtherNumbers, WithLargeFactorsPassOrFailWithBoth)
{
    int passed = 0;
    int tried = 0;
    for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        // Of 255 to 258 bits.
        const std::string number = productOfRelatedPrimes(bits + 2, seed);
        if (bitsOf(number) != bits)
            continue;
        const std::string base = oracle::sum(number, -2);
        for (std::int32_t clock = 1; clock <= 12; ++clock, ++tried) {
            stopAt(clock);
            expectTheSame(base);
            passed += search(base).number == number ? 1 : 0;
        }
    }
    EXPECT_GT(passed, 0);
    EXPECT_LT(passed, tried);
}

TEST_F(OtherNumbers, ByChanceAreJudgedTheSameByBoth)
{
    for (std::int32_t clock = 1; clock <= 40; ++clock) {
        stopAt(clock * 37);
        const auto seed = static_cast<std::uint32_t>(clock);
        const std::string base = oracle::randomNumber(bits, seed);
        expectTheSame(base);
        if (clock % 4 == 0)
            expectTheSame(base, modeFromBase | modeSafe);
        EXPECT_TRUE(isPrime(search(base).number, false));
    }
}

} // namespace
