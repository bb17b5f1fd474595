#include "prime/prime_generation.h"

#include "tests/prime/engine.h"
#include "tests/prime/random_draws.h"
#include "tests/support/event_trace.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>

namespace
{

constexpr int plain = modeFromBase;
constexpr int safe = modeFromBase | modeSafe;

// The events of a number that passes every iteration of a plain search.
std::vector<Event> passed(int counter, int checks)
{
    std::vector<Event> events{{0, counter}};
    for (int i = 0; i < checks; ++i)
        events.push_back({1, i});
    return events;
}

// Random bytes that make every witness this one.
RandomDraws::Script always(unsigned long witness)
{
    return {{static_cast<std::uint8_t>(witness - 2)}};
}

class PrimeGeneration : public testing::Test
{
protected:
    // The result of a search upward from `base`; the number it ends with.
    int search(const std::string& base, int bits, int mode, GenCallback* callback)
    {
        const SearchSize size(bits);
        const BigNumber candidate = fromHex(base);
        const int found = generatePrime(candidate.get(), 0, mode, nullptr, nullptr,
                                        callback, context_.get());
        last_ = toHex(candidate.get());
        return found;
    }

    int search(const std::string& base, int bits, int mode)
    {
        return search(base, bits, mode, trace_.callback());
    }

    std::string find(const std::string& base, int bits, int mode)
    {
        EXPECT_EQ(1, search(base, bits, mode));
        return last_;
    }

    void refuse(Event refused)
    {
        trace_.refuses = [refused](const Event& event) {
            return event == refused;
        };
    }

    Context context_ = newContext();
    EventTrace trace_;
    std::string last_;
};

} // namespace

TEST_F(PrimeGeneration, RefusesASizeOfZeroOrOneBit)
{
    for (const int bits : {0, 1, -1, -8}) {
        EXPECT_EQ(0, search("5", bits, plain)) << bits;
        EXPECT_EQ(0, search("5", bits, safe)) << bits;
        EXPECT_EQ("5", last_);
    }
    EXPECT_TRUE(trace_.events.empty());
}

TEST_F(PrimeGeneration, RefusesASafePrimeOfFourOrFiveBits)
{
    for (const int bits : {2, 4, 5}) {
        EXPECT_EQ(0, search("5", bits, safe)) << bits;
        EXPECT_EQ("5", last_);
    }
    EXPECT_TRUE(trace_.events.empty());
}

TEST_F(PrimeGeneration, FindsSevenAsTheSafePrimeOfThreeBits)
{
    EXPECT_EQ("7", find("0", 3, safe));
    EXPECT_EQ(64, trace_.count(2));
}

TEST_F(PrimeGeneration, FindsSafePrimesFromSixBitsOn)
{
    EXPECT_EQ("2F", find("0", 6, safe));  // 47
    EXPECT_EQ("3B", find("2F", 6, safe)); // 59
    EXPECT_EQ("53", find("0", 7, safe));  // 83
    EXPECT_EQ("A7", find("0", 8, safe));  // 167
}

TEST_F(PrimeGeneration, FindsPrimesFromTwoBitsOn)
{
    EXPECT_EQ("3", find("0", 2, plain));
    EXPECT_EQ((std::vector<Event>{{0, 0}}), trace_.events);
    EXPECT_EQ("7", find("0", 3, plain));
    EXPECT_EQ("B", find("0", 4, plain));
    EXPECT_EQ("13", find("0", 5, plain));
}

TEST_F(PrimeGeneration, LiesAboveABaseThatIsPrime)
{
    // 2^255 - 19 is the largest prime of 255 bits, 2^256 - 189 of 256.
    EXPECT_EQ("800B", find("8003", 16, plain));
    EXPECT_NE(oracle::powerOfTwo(256, -189),
              find(oracle::powerOfTwo(256, -189), 256, plain));
    EXPECT_EQ(oracle::powerOfTwo(256, -189),
              find(oracle::powerOfTwo(256, -191), 256, plain));
}

TEST_F(PrimeGeneration, LiesAboveABaseThatIsASafePrime)
{
    EXPECT_EQ("B3", find("A7", 8, safe)); // 179 after 167
}

TEST_F(PrimeGeneration, TakesItsSizeFromBaseBitsAlone)
{
    const SearchSize size(16);
    const BigNumber candidate = fromHex("0");
    const BigNumber add = fromWord(1000);
    const BigNumber remainder = fromWord(1);
    EXPECT_EQ(1, generatePrime(candidate.get(), 64, plain, add.get(), remainder.get(),
                               nullptr, context_.get()));
    EXPECT_EQ("8003", toHex(candidate.get()));
}

TEST_F(PrimeGeneration, IgnoresAllOtherBitsOfTheMode)
{
    EXPECT_EQ("8003", find("0", 16, plain | ~3));
    EXPECT_EQ("A7", find("0", 8, safe | ~3));
}

TEST_F(PrimeGeneration, StartsAnywhereWithoutABase)
{
    // Random bytes 00 00 make the start C001; C005 is the prime above.
    EXPECT_EQ("C005", find("8003", 16, 0));
}

TEST_F(PrimeGeneration, RunsSixtyFourIterationsAt2048Bits)
{
    // 2^2047 + 1919 is the first prime of the size.
    EXPECT_EQ(oracle::powerOfTwo(2047, 1919),
              find(oracle::powerOfTwo(2047, 1917), 2048, plain));
    EXPECT_EQ(passed(0, 64), trace_.events);
}

TEST_F(PrimeGeneration, Runs128IterationsAt2049Bits)
{
    // 2^2048 + 981 is the first prime of the size.
    EXPECT_EQ(oracle::powerOfTwo(2048, 981),
              find(oracle::powerOfTwo(2048, 979), 2049, plain));
    EXPECT_EQ(passed(0, 128), trace_.events);
}

TEST_F(PrimeGeneration, RunsSixtyFourTurnsForASafePrimeOf2048Bits)
{
    // 2^2047 + 709551 is the first safe prime of the size.
    EXPECT_EQ(oracle::powerOfTwo(2047, 709551),
              find(oracle::powerOfTwo(2047, 709547), 2048, safe));
    EXPECT_EQ(64, trace_.count(2));
    EXPECT_EQ(128, trace_.count(1));
}

TEST_F(PrimeGeneration, Runs128TurnsForASafePrimeOf2049Bits)
{
    // 2^2048 + 10029811 is the first safe prime of the size.
    EXPECT_EQ(oracle::powerOfTwo(2048, 10029811),
              find(oracle::powerOfTwo(2048, 10029807), 2049, safe));
    EXPECT_EQ(128, trace_.count(2));
    EXPECT_EQ(256, trace_.count(1));
}

TEST_F(PrimeGeneration, CountsItsCandidates)
{
    // The primes above 2^64: + 13 is the first; the composites before it that no
    // prime up to 311 divides count too.
    EXPECT_EQ("1000000000000000D", find(oracle::powerOfTwo(64, 0), 65, plain));
    int expected = 0;
    for (const Event& event : trace_.events) {
        if (event.code == 0) {
            EXPECT_EQ(expected++, event.value);
        }
    }
    EXPECT_GT(expected, 0);
}

TEST_F(PrimeGeneration, TellsEachTurnByTheNumberOfItsCandidate)
{
    find(oracle::randomNumber(128, 4), 128, safe);
    int last = -1;
    for (const Event& event : trace_.events) {
        if (event.code == 0) {
            EXPECT_EQ(last + 1, event.value);
            last = event.value;
        }
        if (event.code == 2) {
            EXPECT_EQ(last, event.value);
        }
    }
    EXPECT_GT(last, 0);
    EXPECT_EQ(64, trace_.count(2));
}

TEST_F(PrimeGeneration, TellsTheEventsOfAPlainSearchInOrder)
{
    for (const int bits : {8, 24, 40, 64, 129, 256})
        for (const unsigned long witness : {2U, 3U}) {
            trace_.events.clear();
            RandomDraws draws(always(witness));
            const std::string base = oracle::randomNumber(bits, 11);
            const oracle::Outcome expected =
                oracle::searchWithWitness(base, {bits, false}, 64, witness);
            EXPECT_EQ(expected.prime, find(base, bits, plain));
            EXPECT_EQ(expected.events, trace_.events) << bits << " bits";
        }
}

TEST_F(PrimeGeneration, TellsTheEventsOfASafeSearchInOrder)
{
    for (const int bits : {8, 24, 40, 64, 129, 256})
        for (const unsigned long witness : {2U, 3U}) {
            trace_.events.clear();
            RandomDraws draws(always(witness));
            const std::string base = oracle::randomNumber(bits, 11);
            const oracle::Outcome expected =
                oracle::searchWithWitness(base, {bits, true}, 64, witness);
            EXPECT_EQ(expected.prime, find(base, bits, safe));
            EXPECT_EQ(expected.events, trace_.events) << bits << " bits";
        }
}

TEST_F(PrimeGeneration, LetsItsWitnessesAloneDecide)
{
    // 1093 * 1093 = 1194649 has no small factor and is a strong pseudoprime to
    // base 2, but not to base 3.
    RandomDraws twos(always(2));
    EXPECT_EQ("123A99", find("123A97", 21, plain));
    EXPECT_EQ(passed(0, 64), trace_.events);
    trace_.events.clear();
    RandomDraws threes(always(3));
    EXPECT_EQ(oracle::firstPrime("123A97", {21, false}), find("123A97", 21, plain));
    EXPECT_EQ((Event{0, 0}), trace_.events[0]);
    EXPECT_EQ((Event{0, 1}), trace_.events[1]);
}

TEST_F(PrimeGeneration, CountsOnAfterACandidateThatFailsALaterIteration)
{
    // The witnesses 2, 2 and 3 let 1093 * 1093 pass twice.
    RandomDraws draws({{0}, {0}, {1}});
    find("123A97", 21, plain);
    const std::vector<Event> first(trace_.events.begin(), trace_.events.begin() + 4);
    EXPECT_EQ((std::vector<Event>{{0, 0}, {1, 0}, {1, 1}, {0, 1}}), first);
}

TEST_F(PrimeGeneration, EndsAtARefusalOfItsFirstCandidate)
{
    refuse({0, 0});
    EXPECT_EQ(0, search("8001", 16, plain));
    EXPECT_EQ("8003", last_);
    EXPECT_EQ((std::vector<Event>{{0, 0}}), trace_.events);
}

TEST_F(PrimeGeneration, EndsAtARefusalOfALaterCandidate)
{
    RandomDraws draws(always(3));
    refuse({0, 1});
    EXPECT_EQ(0, search("123A97", 21, plain));
    EXPECT_EQ((std::vector<Event>{{0, 0}, {0, 1}}), trace_.events);
}

TEST_F(PrimeGeneration, RejectsACandidateAtARefusalOfAnIteration)
{
    // 32771 and 32779 are both primes: the first is given up, and the search ends
    // before the second is tested only because that is refused too.
    trace_.refuses = [](const Event& event) {
        return event.code == 1 || event == Event{0, 1};
    };
    EXPECT_EQ(0, search("8001", 16, plain));
    EXPECT_EQ("800B", last_);
    EXPECT_EQ((std::vector<Event>{{0, 0}, {1, 0}, {0, 1}}), trace_.events);
}

TEST_F(PrimeGeneration, GoesOnWhenOnlyAnIterationWasRefused)
{
    int refusals = 0;
    trace_.refuses = [&refusals](const Event& event) {
        return event.code == 1 && refusals++ == 0;
    };
    EXPECT_EQ("800B", find("8001", 16, plain));
}

TEST_F(PrimeGeneration, RejectsASafeCandidateAtARefusalOfAnIteration)
{
    // 167 is given up at its half's iteration; 179 is the next safe prime.
    int iterations = 0;
    trace_.refuses = [&iterations](const Event& event) {
        return event.code == 1 && ++iterations == 2;
    };
    EXPECT_EQ("B3", find("0", 8, safe));
    const std::vector<Event> first(trace_.events.begin(), trace_.events.begin() + 5);
    EXPECT_EQ((std::vector<Event>{{0, 0}, {1, 0}, {1, 0}, {0, 1}, {1, 0}}), first);
}

TEST_F(PrimeGeneration, EndsAtARefusalOfATurn)
{
    refuse({2, 0});
    EXPECT_EQ(0, search("0", 8, safe));
    EXPECT_EQ("A7", last_);
    EXPECT_EQ((std::vector<Event>{{0, 0}, {1, 0}, {1, 0}, {2, 0}}), trace_.events);
}

TEST_F(PrimeGeneration, NeedsNoCallback)
{
    EXPECT_EQ(1, search("8001", 16, plain, nullptr));
    EXPECT_EQ("8003", last_);
    EXPECT_EQ(1, search("0", 8, safe, nullptr));
    EXPECT_EQ("A7", last_);
}

TEST_F(PrimeGeneration, TakesAVersionOneCallbackWithoutAFunctionForNone)
{
    BN_GENCB_set_old(trace_.callback(), nullptr, nullptr);
    EXPECT_EQ("8003", find("8001", 16, plain));
    EXPECT_EQ("A7", find("0", 8, safe));
}

TEST_F(PrimeGeneration, TellsAVersionOneCallback)
{
    const EventTrace old(1);
    EXPECT_EQ(1, search("8001", 16, plain, old.callback()));
    EXPECT_EQ(passed(0, 64), old.events);
}

TEST_F(PrimeGeneration, FindsASafePrimeThreeModuloFourOfItsSize)
{
    for (const int bits : {6, 8, 16, 32, 64, 128, 256}) {
        const std::string prime = find(oracle::randomNumber(bits, 2), bits, safe);
        EXPECT_EQ(3u, oracle::remainder(prime, 4)) << prime;
        EXPECT_EQ(bits, BN_num_bits(fromHex(prime).get()));
    }
}

TEST_F(PrimeGeneration, LeavesTheContextUsable)
{
    const ContextFrame frame(context_.get());
    BIGNUM* before = BN_CTX_get(context_.get());
    BN_set_word(before, 42);
    find("0", 8, safe);
    refuse({0, 0});
    EXPECT_EQ(0, search("0", 8, safe));
    EXPECT_EQ(42u, BN_get_word(before));
    EXPECT_NE(nullptr, BN_CTX_get(context_.get()));
}
