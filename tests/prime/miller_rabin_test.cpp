#include "prime/miller_rabin.h"

#include "prime/events.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/prime/engine.h"
#include "tests/prime/random_draws.h"
#include "tests/support/event_trace.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>

namespace
{

using Script = RandomDraws::Script;

// A status that no verdict writes.
constexpr PrimeTestStatus unwritten = 77;

std::vector<Event> iterations(int count)
{
    std::vector<Event> events;
    events.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        events.push_back({1, i});
    return events;
}

// The draw that makes this witness: it is what the test adds 2 to.
RandomDraws::Bytes witness(int value)
{
    return {static_cast<std::uint8_t>(value - 2)};
}

class MillerRabin : public testing::Test
{
protected:
    int isPrime(const std::string& number, int checks = 1)
    {
        return ::isPrime(fromHex(number).get(), checks, context_.get(), 0,
                         trace_.callback());
    }

    int millerRabin(const std::string& number, int checks = 1)
    {
        return ::millerRabin(fromHex(number).get(), checks, context_.get(),
                             trace_.callback(), &status_);
    }

    Context context_ = newContext();
    EventTrace trace_;
    PrimeTestStatus status_ = unwritten;
};

// Numbers that are decided without a test.
class DecidedAtOnce : public MillerRabin
{
protected:
    void expect(int verdict, const std::string& number)
    {
        RandomDraws draws(Script{{0}});
        EXPECT_EQ(verdict, isPrime(number, 5)) << number;
        EXPECT_TRUE(draws.counts.empty()) << number;
        EXPECT_TRUE(trace_.events.empty()) << number;
    }
};

} // namespace

TEST_F(DecidedAtOnce, ZeroAndOneAreNotPrime)
{
    expect(0, "0");
    expect(0, "1");
}

TEST_F(DecidedAtOnce, NegativeNumbersAreNotPrime)
{
    for (const char* number : {"-1", "-2", "-3", "-5", "-7", "-10000000000000000000F"})
        expect(0, number);
}

TEST_F(DecidedAtOnce, TwoAndThreeArePrime)
{
    expect(1, "2");
    expect(1, "3");
}

TEST_F(DecidedAtOnce, OtherEvenNumbersAreNotPrime)
{
    for (const char* number : {"4", "6", "8", "A", "64", "FFFE"})
        expect(0, number);
    expect(0, oracle::powerOfTwo(521, -2));
}

TEST_F(MillerRabin, TestsFive)
{
    RandomDraws draws(Script{{0}});
    EXPECT_EQ(1, isPrime("5", 2));
    EXPECT_EQ(iterations(2), trace_.events);
    EXPECT_EQ((std::vector<int>{1, 1}), draws.counts);
}

TEST_F(MillerRabin, AcceptsFiveWithEitherOfItsWitnesses)
{
    for (const int value : {2, 3}) {
        RandomDraws draws({witness(value)});
        EXPECT_EQ(1, isPrime("5")) << value;
    }
}

TEST_F(MillerRabin, DrawsTheWitnessesOfFiveBelowTwo)
{
    // 6 is three times the bound of 2, so that another draw follows; with a bound of
    // 3 or more it would not.
    RandomDraws draws(Script{{0x06}, {0x01}});
    EXPECT_EQ(1, isPrime("5"));
    EXPECT_EQ(2u, draws.counts.size());
}

TEST_F(MillerRabin, FailsOnThree)
{
    EXPECT_EQ(0, millerRabin("3"));
    EXPECT_EQ(unwritten, status_);
    EXPECT_TRUE(trace_.events.empty());
}

TEST_F(MillerRabin, FailsOnOneAndOnNegativeNumbers)
{
    for (const char* number : {"1", "-1", "-5"})
        EXPECT_EQ(0, millerRabin(number)) << number;
    EXPECT_EQ(unwritten, status_);
}

TEST_F(MillerRabin, FailsOnEvenNumbersWithoutAContext)
{
    for (const char* number : {"0", "2", "64"})
        EXPECT_EQ(0, ::millerRabin(fromHex(number).get(), 1, nullptr, trace_.callback(),
                                   &status_))
            << number;
    EXPECT_EQ(unwritten, status_);
}

TEST_F(MillerRabin, TellsAProbablePrimeByThree)
{
    EXPECT_EQ(1, millerRabin("83"));
    EXPECT_EQ(3, status_);
}

TEST_F(MillerRabin, TellsACompositeByZero)
{
    EXPECT_EQ(1, millerRabin("87"));
    EXPECT_EQ(0, status_);
}

TEST_F(MillerRabin, JudgesEveryOddByteByEveryWitnessAsTheDefinitionDoes)
{
    for (int number = 5; number < 256; number += 2) {
        const std::string digits = toHex(fromWord(static_cast<BN_ULONG>(number)).get());
        for (int value = 2; value <= number - 2; ++value) {
            RandomDraws draws({witness(value)});
            ASSERT_EQ(1, millerRabin(digits));
            ASSERT_EQ(oracle::passesTest(digits, static_cast<unsigned long>(value)),
                      status_ == primeTestProbablePrime)
                << number << " with " << value;
        }
    }
}

TEST_F(MillerRabin, JudgesLargeNumbersByAWitnessAsTheDefinitionDoes)
{
    // Primes with 2, 96 and 512 twos in w - 1, and composites: the last is a strong
    // pseudoprime to base 2.
    for (const std::string& digits :
         {oracle::powerOfTwo(521, -1), oracle::powerOfTwo(255, -19),
          std::string("FFFFFFFF000000000000000000000001"), oracle::powerOfTwo(512, 1),
          oracle::powerOfTwo(256, 1), std::string("123A99")})
        for (const int value : {2, 3, 5}) {
            RandomDraws draws({witness(value)});
            ASSERT_EQ(1, millerRabin(digits));
            EXPECT_EQ(oracle::passesTest(digits, static_cast<unsigned long>(value)),
                      status_ == primeTestProbablePrime)
                << digits << " with " << value;
        }
}

TEST_F(MillerRabin, TakesTheDrawPlusTwoAsTheWitness)
{
    // Of 2 to 23 only 7 and 18 let 25 pass.
    for (int value = 2; value <= 23; ++value) {
        RandomDraws draws({witness(value)});
        EXPECT_EQ(value == 7 || value == 18, isPrime("19") == 1) << value;
    }
}

TEST_F(MillerRabin, NeverTakesAWitnessAboveTheNumberLessTwo)
{
    // 22, the bound for 25, is drawn again: it would make the witness 24, which
    // lets 25 pass.
    RandomDraws draws(Script{{22}, {0}});
    EXPECT_EQ(0, isPrime("19"));
    EXPECT_EQ(2u, draws.counts.size());
}

TEST_F(MillerRabin, DrawsAWitnessForEachIteration)
{
    RandomDraws draws(Script{{0}});
    EXPECT_EQ(1, isPrime("83", 7));
    EXPECT_EQ(7u, draws.counts.size());
}

TEST_F(MillerRabin, TellsTheCallbackOfEachIterationPassed)
{
    EXPECT_EQ(1, isPrime("83", 10));
    EXPECT_EQ(iterations(10), trace_.events);
}

TEST_F(MillerRabin, TellsTheCallbackNothingOfACompositeFoundAtOnce)
{
    RandomDraws draws({witness(2)});
    EXPECT_EQ(0, isPrime("19", 10));
    EXPECT_TRUE(trace_.events.empty());
    EXPECT_EQ(1u, draws.counts.size());
}

TEST_F(MillerRabin, EndsAtTheFirstIterationThatProvesACompositeNumber)
{
    RandomDraws draws({witness(7), witness(18), witness(2)});
    EXPECT_EQ(1, millerRabin("19", 10));
    EXPECT_EQ(0, status_);
    EXPECT_EQ(iterations(2), trace_.events);
    EXPECT_EQ(3u, draws.counts.size());
}

TEST_F(MillerRabin, RunsSixtyFourIterationsUpTo2048BitsWhenLeftToChoose)
{
    // 2^2047 + 1919 is the first prime of 2048 bits.
    EXPECT_EQ(1, isPrime(oracle::powerOfTwo(2047, 1919), 0));
    EXPECT_EQ(iterations(64), trace_.events);
}

TEST_F(MillerRabin, Runs128IterationsAbove2048BitsWhenLeftToChoose)
{
    // 2^2048 + 981 is the first prime of 2049 bits.
    EXPECT_EQ(1, isPrime(oracle::powerOfTwo(2048, 981), 0));
    EXPECT_EQ(iterations(128), trace_.events);
}

TEST_F(MillerRabin, RunsSixtyFourIterationsOnASmallNumberWhenLeftToChoose)
{
    EXPECT_EQ(1, isPrime("83", 0));
    EXPECT_EQ(iterations(64), trace_.events);
}

TEST(IterationsFor, DoubleAbove2048Bits)
{
    EXPECT_EQ(64, iterationsFor(8));
    EXPECT_EQ(64, iterationsFor(2048));
    EXPECT_EQ(128, iterationsFor(2049));
}

TEST_F(MillerRabin, TakesAnythingForPrimeWithoutAnIteration)
{
    RandomDraws draws(Script{{0}});
    EXPECT_EQ(1, millerRabin("19", -1));
    EXPECT_EQ(3, status_);
    EXPECT_EQ(1, isPrime("19", -1));
    EXPECT_EQ(1, isPrime("5", -1000));
    EXPECT_TRUE(draws.counts.empty());
    EXPECT_TRUE(trace_.events.empty());
}

TEST_F(MillerRabin, FailsOnThreeEvenWithoutAnIteration)
{
    EXPECT_EQ(0, millerRabin("3", -1));
    EXPECT_EQ(unwritten, status_);
}

TEST_F(MillerRabin, ReadsARefusalAsNotPrime)
{
    trace_.refuses = [](const Event& event) {
        return event == Event{1, 2};
    };
    RandomDraws draws(Script{{0}});
    EXPECT_EQ(0, isPrime("83", 10));
    EXPECT_EQ(iterations(3), trace_.events);
    EXPECT_EQ(3u, draws.counts.size());
}

TEST_F(MillerRabin, FailsWithoutAVerdictAfterARefusal)
{
    trace_.refuses = [](const Event&) {
        return true;
    };
    EXPECT_EQ(0, millerRabin("83", 10));
    EXPECT_EQ(unwritten, status_);
    EXPECT_EQ(iterations(1), trace_.events);
}

TEST_F(MillerRabin, FailsWithoutAVerdictWhenTheSourceDoes)
{
    RandomDraws draws(Script{{0}});
    draws.failsFrom = 2;
    EXPECT_EQ(0, millerRabin("83", 10));
    EXPECT_EQ(unwritten, status_);
    EXPECT_EQ(iterations(2), trace_.events);
    EXPECT_EQ(0, isPrime("83", 10));
}

TEST_F(MillerRabin, TellsAVersionOneCallback)
{
    const EventTrace old(1);
    EXPECT_EQ(1, ::isPrime(fromHex("83").get(), 4, context_.get(), 0, old.callback()));
    EXPECT_EQ(iterations(4), old.events);
}

TEST_F(MillerRabin, NeedsNoCallback)
{
    EXPECT_EQ(1, ::isPrime(fromHex("83").get(), 4, context_.get(), 0, nullptr));
    BN_GENCB_set_old(trace_.callback(), nullptr, nullptr);
    EXPECT_EQ(1, isPrime("83", 4));
}

TEST_F(MillerRabin, NeedsNoContext)
{
    EXPECT_EQ(1, ::isPrime(fromHex("83").get(), 4, nullptr, 0, trace_.callback()));
    EXPECT_EQ(0, ::isPrime(fromHex("87").get(), 4, nullptr, 0, trace_.callback()));
}

TEST_F(MillerRabin, DividesByNoSmallPrimeWhateverTheFlag)
{
    for (const int flag : {0, 1, -1}) {
        RandomDraws draws({witness(7)});
        EXPECT_EQ(1, ::isPrime(fromHex("19").get(), 3, context_.get(), flag, nullptr));
    }
}

TEST_F(MillerRabin, LeavesTheNumberAlone)
{
    const BigNumber number = fromHex("FFFFFFFFFFFFFFC5");
    EXPECT_EQ(1, ::isPrime(number.get(), 3, context_.get(), 0, nullptr));
    EXPECT_EQ("FFFFFFFFFFFFFFC5", toHex(number.get()));
}

TEST_F(MillerRabin, LeavesTheFirstNumberThatItTakesUnused)
{
    // A context lends the same numbers again, in the same order.
    std::array<const BIGNUM*, 3> lent{};
    {
        const ContextFrame frame(context_.get());
        for (const BIGNUM*& number : lent)
            number = BN_CTX_get(context_.get());
    }
    std::array<std::string, 3> during;
    trace_.refuses = [&](const Event&) {
        std::transform(lent.begin(), lent.end(), during.begin(), toHex);
        return false;
    };
    RandomDraws draws(Script{{0}});
    EXPECT_EQ(1, isPrime("65"));
    // The second and the third hold w - 1 and w - 3.
    EXPECT_EQ((std::array<std::string, 3>{"0", "64", "62"}), during);
}

TEST_F(MillerRabin, SquaresOnceMoreBeforeItsVerdictOnAComposite)
{
    // Both are 3 modulo 4, so that an iteration passes without a squaring. The squaring
    // before the verdict alone needs words for the number that it squares.
    const auto allocations = [this](int distance) {
        RandomDraws draws(Script{{3}});
        const BigNumber number = fromHex(oracle::powerOfTwo(255, -distance));
        const Context context = newContext();
        failCryptoAllocation(-1);
        ::isPrime(number.get(), 1, context.get(), 0, trace_.callback());
        return cryptoAllocations();
    };
    const int ofAPrime = allocations(765);
    EXPECT_EQ(1, trace_.count(iterationEvent));
    EXPECT_LT(ofAPrime, allocations(21));
    EXPECT_EQ(1, trace_.count(iterationEvent));
}

TEST_F(MillerRabin, LeavesTheContextUsable)
{
    const ContextFrame frame(context_.get());
    BIGNUM* before = BN_CTX_get(context_.get());
    BN_set_word(before, 42);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(1, isPrime("83", 3));
        EXPECT_EQ(0, isPrime("87", 3));
    }
    EXPECT_EQ(42u, BN_get_word(before));
    EXPECT_NE(nullptr, BN_CTX_get(context_.get()));
}

// What the test of 512 bits relies on: a flag that stayed on a lent number would slow
// down whoever gets it next.
TEST(ContextOfTheLibrary, LendsNumbersWithoutTheFlagsOfTheirLastUse)
{
    const Context context = newContext();
    const BigNumber w = fromHex(oracle::randomNumber(512, 1));
    BN_set_bit(w.get(), 0);
    PrimeTestStatus status = unwritten;
    ASSERT_EQ(1, millerRabin(w.get(), 1, context.get(), nullptr, &status));
    const ContextFrame frame(context.get());
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(0, BN_get_flags(BN_CTX_get(context.get()), BN_FLG_CONSTTIME));
}
