// The sieve of a search when memory runs out.
#include "prime/search_sieve.h"

#include "prime/candidate_sieve.h"
#include "prime/sieve_primes.h"
#include "tests/fakes/array_memory.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>

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
    }

    int next(SearchSieve& sieve)
    {
        return nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                   context.get());
    }

    // Makes a sieve whose arrays hold nothing but zeros: what is not zero when the
    // array is given back was written and not wiped.
    SearchSieve makeCleanSieve()
    {
        SearchSieve sieve = makeSearchSieve(bits, mode);
        std::fill_n(sieve.nextIndex.get(), sieve.primeCount, 0U);
        std::fill_n(sieve.rejected.get(), sieve.windowLength / 64, 0U);
        std::fill_n(sieve.composite.get(), sieve.windowLength / 64, 0U);
        return sieve;
    }

    // Looks at the array of this number when the sieve gives it back.
    static void watchArray(const SearchSieve& sieve, int number)
    {
        const std::size_t bitmap = sieve.windowLength / 8;
        const ArrayWatch arrays[arrayCount] = {
            {sieve.nextIndex.get(), sieve.primeCount * sizeof(std::uint32_t)},
            {sieve.rejected.get(), bitmap},
            {sieve.composite.get(), bitmap}};
        arrayWatch = arrays[number];
    }

    // Crosses off so many slices, through windows and at the top of the size.
    void sieveFor(SearchSieve& sieve, int candidates)
    {
        for (int i = 0; i < candidates; ++i) {
            ASSERT_EQ(1, next(sieve));
            sieveSlice(sieve, context.get());
        }
    }

    static constexpr int arrayCount = 3;

    Context context = newContext();
    BigNumber candidate = fromHex(oracle::randomNumber(bits, 8));
    std::array<std::uint16_t, smallPrimeCount> residues{};
};

TEST_F(SieveWithoutMemory, IsIdleWithoutItsArrays)
{
    arrayAllocationFails = true;
    SearchSieve sieve = makeSearchSieve(bits, mode);
    arrayAllocationFails = false;
    EXPECT_EQ(0U, sieve.windowLength);
    ASSERT_EQ(1, next(sieve));
    sieveSlice(sieve, context.get());
    EXPECT_FALSE(sieve.start);
    EXPECT_FALSE(knowsFactor(sieve));
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

    SearchSieve sieve = makeSearchSieve(bits, mode);
    ASSERT_EQ(1, next(sieve));
    for (int i = 0; i < 100; ++i)
        sieveSlice(sieve, context.get());
    EXPECT_EQ(sievePrimes(0).size(), sieve.crossed);
    EXPECT_LT(sieve.crossed, sieve.primeCount);
}

// From the tables and the prime's size alone the start could be computed.
TEST_F(SieveWithoutMemory, WipesItsArrays)
{
    for (int array = 0; array < arrayCount; ++array)
        for (const int candidates : {1, 12, 400}) {
            {
                SearchSieve sieve = makeCleanSieve();
                watchArray(sieve, array);
                sieveFor(sieve, candidates);
            }
            EXPECT_EQ(1, arrayWatch.releases);
            EXPECT_TRUE(arrayWatch.wiped) << "array " << array << ", " << candidates;
        }
}

// It starts over at the top of the size: what it knew before is still in the table.
TEST_F(SieveWithoutMemory, WipesWhatItKnewBeforeItStartedOver)
{
    candidate = fromHex(oracle::powerOfTwo(bits, -30000));
    {
        SearchSieve sieve = makeCleanSieve();
        watchArray(sieve, 0);
        std::size_t most = 0;
        while (!sieve.start || sieve.known >= most) {
            ASSERT_EQ(1, next(sieve));
            if (sieve.start && sieve.known >= most) {
                sieveSlice(sieve, context.get());
                most = sieve.known;
            }
        }
        ASSERT_GT(most, 10 * sieve.sliceLength);
        ASSERT_EQ(sieve.smallCount, sieve.known);
    }
    EXPECT_TRUE(arrayWatch.wiped);
}

// A table of megabytes is hardly touched by most searches.
TEST_F(SieveWithoutMemory, WipesNoPlacesThatItNeverWrote)
{
    SearchSieve sieve = makeSearchSieve(bits, mode);
    EXPECT_EQ(0U, sieve.nextIndex.get_deleter().written);
    sieveFor(sieve, 3);
    EXPECT_EQ(sieve.smallCount + 3 * sieve.sliceLength,
              sieve.nextIndex.get_deleter().written);
    EXPECT_LT(sieve.known, sieve.primeCount);
}

} // namespace
