// The sieve of a search when memory runs out.
#include "prime/search_sieve.h"

#include "prime/candidate_sieve.h"
#include "prime/sieve_primes.h"
#include "tests/fakes/array_memory.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace
{

constexpr int bits = 264;
constexpr int mode = modeFromBase | modeSafe;

class SieveWithoutMemory : public testing::Test
{
protected:
    ~SieveWithoutMemory() override
    {
        arrayAllocationFails = false;
        longestArray = anyLength;
    }

    int next(SearchSieve& sieve)
    {
        return nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                   context.get());
    }

    // Makes a sieve whose arrays hold nothing but zeros: what is not zero when the
    // array is given back was written and not wiped.
    static SearchSieve makeCleanSieve(const SievePlan& plan)
    {
        SearchSieve sieve = makeSearchSieve(bits, plan);
        for (int i = 0; i < arrayCount; ++i) {
            const ArrayWatch array = arrayOf(sieve, i);
            std::memset(const_cast<void*>(array.block), 0, array.size);
        }
        return sieve;
    }

    static ArrayWatch arrayOf(const SearchSieve& sieve, int number)
    {
        const ArrayWatch arrays[arrayCount] = {
            {sieve.smallNext.get(), sieve.plan.smallCount * sizeof(std::uint32_t)},
            {sieve.indices.get(), largerAtOnce * sizeof(std::uint32_t)},
            {sieve.rejected.crossed.get(), sieve.rejected.length / 8},
            {sieve.composite.crossed.get(), sieve.composite.length / 8},
            {sieve.words.get(), (bits + 63) / 64 * sizeof(std::uint64_t)}};
        return arrays[number];
    }

    // Takes so many candidates and sieves a slice for each, through segments and starts.
    void sieveFor(SearchSieve& sieve, int candidates)
    {
        for (int i = 0; i < candidates; ++i) {
            ASSERT_EQ(1, next(sieve));
            sieveSlice(sieve);
        }
    }

    static constexpr int arrayCount = 5;
    const SievePlan plan = planSieve(bits, mode);

    Context context = newContext();
    BigNumber candidate = fromHex(oracle::randomNumber(bits, 8));
    std::array<std::uint16_t, smallPrimeCount> residues{};
};

TEST_F(SieveWithoutMemory, IsIdleWithoutItsArrays)
{
    arrayAllocationFails = true;
    SearchSieve sieve = makeSearchSieve(bits, plan);
    arrayAllocationFails = false;
    EXPECT_EQ(0U, sieve.plan.reach);
    ASSERT_EQ(1, next(sieve));
    sieveSlice(sieve);
    EXPECT_FALSE(sieve.start);
    EXPECT_FALSE(knowsFactor(sieve));
}

// The last memory is left to the tests.
TEST_F(SieveWithoutMemory, TakesNothingWhereLessThanAMegabyteIsLeft)
{
    longestArray = 1'000'000;
    const SearchSieve sieve = makeSearchSieve(1024, planSieve(1024, mode));
    EXPECT_EQ(0U, sieve.plan.reach);
    EXPECT_FALSE(sieve.words || sieve.smallNext || sieve.indices ||
                 sieve.rejected.crossed || sieve.composite.crossed);
    EXPECT_TRUE(sievePrimes(3).empty());
}

TEST_F(SieveWithoutMemory, TakesItsSegmentsWhereAMegabyteIsLeft)
{
    longestArray = 1 << 20;
    EXPECT_GT(makeSearchSieve(1024, planSieve(1024, mode)).plan.reach, 0U);
}

// A short search is over before it could look how much memory is left.
TEST_F(SieveWithoutMemory, TakesLittleWithoutALook)
{
    longestArray = 1'000'000;
    EXPECT_GT(makeSearchSieve(bits, plan).plan.reach, 0U);
}

// An idle sieve reserves nothing.
TEST_F(SieveWithoutMemory, LeavesItsShareToOthers)
{
    const SievePlan wanted = planSieve(16384, mode);
    longestArray = 1'000'000;
    std::vector<SearchSieve> idle(200);
    for (SearchSieve& sieve : idle)
        sieve = makeSearchSieve(16384, wanted);
    longestArray = anyLength;
    EXPECT_EQ(wanted.reach, makeSearchSieve(16384, wanted).plan.reach);
}

// A block that memory had no room for stays away, and the places of those after it
// are not mistaken.
TEST_F(SieveWithoutMemory, KnowsNoPrimeAfterABlockThatIsMissing)
{
    arrayAllocationFails = true;
    EXPECT_TRUE(sievePrimes(1).empty());
    arrayAllocationFails = false;
    EXPECT_TRUE(sievePrimes(1).empty());
    EXPECT_FALSE(sievePrimes(2).empty());

    SearchSieve sieve = makeSearchSieve(bits, plan);
    ASSERT_EQ(1, next(sieve));
    for (int i = 0; i < 100; ++i)
        sieveSlice(sieve);
    EXPECT_EQ(sievePrimes(0).size(), sieve.larger.passed);
    EXPECT_LT(sieve.larger.passed, plan.primeCount);
}

// From its arrays and the prime's size alone the start could be computed.
TEST_F(SieveWithoutMemory, WipesItsArrays)
{
    SievePlan shortPlan = plan;
    shortPlan.segmentLength = 128;
    shortPlan.reach = 1024;
    for (int array = 0; array < arrayCount; ++array)
        for (const int candidates : {1, 12, 400}) {
            {
                SearchSieve sieve = makeCleanSieve(shortPlan);
                arrayWatch = arrayOf(sieve, array);
                sieveFor(sieve, candidates);
            }
            EXPECT_EQ(1, arrayWatch.releases);
            EXPECT_TRUE(arrayWatch.wiped) << "array " << array << ", " << candidates;
        }
}

// A fresh process: the primes are found once.
TEST(SieveWithoutPrimesDeathTest, IsIdleAndYieldsWhatThePlainSieveDoes)
{
    const auto search = [] {
        arrayAllocationFails = true;
        const bool empty = sievePrimes(0).empty();
        arrayAllocationFails = false;
        SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, mode));
        const Context context = newContext();
        std::array<std::uint16_t, smallPrimeCount> residues{};
        const BigNumber candidate = fromHex(oracle::randomNumber(bits, 8));
        const BigNumber plain(BN_dup(candidate.get()));
        bool same = true;
        for (int i = 0; i < 20; ++i) {
            nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                context.get());
            sieveSlice(sieve);
            nextCandidate(plain.get(), bits, mode, residues.data(), context.get());
            same =
                same && BN_cmp(plain.get(), candidate.get()) == 0 && !knowsFactor(sieve);
        }
        std::_Exit(empty && same && !sieve.start ? 5 : 6);
    };
    EXPECT_EXIT(search(), testing::ExitedWithCode(5), "");
}

} // namespace
