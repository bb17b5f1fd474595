#include "prime/sieve_plan.h"

#include "prime/candidate_sieve.h"
#include "prime/segment.h"
#include "prime/shortcuts.h"
#include "prime/sieve_primes.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{

class SievePlans : public testing::Test
{
protected:
    ~SievePlans() override
    {
        eventsUnwatched = false;
    }
};

TEST_F(SievePlans, CountTheHalvesOnlyOfSafePrimesThatNobodyWatches)
{
    EXPECT_FALSE(planSieve(512, modeFromBase | modeSafe).halves);
    eventsUnwatched = true;
    EXPECT_TRUE(planSieve(512, modeFromBase | modeSafe).halves);
    EXPECT_FALSE(planSieve(512, modeFromBase).halves);
}

TEST_F(SievePlans, HaveNoReachBelow256BitsAndFromARandomStart)
{
    for (const int bits : {2, 64, 248, 255})
        EXPECT_EQ(0U, planSieve(bits, modeFromBase | modeSafe).reach) << bits;
    for (const int mode : {0, static_cast<int>(modeSafe)})
        EXPECT_EQ(0U, planSieve(1024, mode).reach) << mode;
    EXPECT_GT(planSieve(256, modeFromBase).reach, 0U);
}

// Every size has a plan that the primes suffice for. No worker takes more than 3 MiB, or
// 4 MiB at sizes of millions of bits; all share the table of primes.
TEST_F(SievePlans, KeepWithinTheMemoryOfAWorker)
{
    std::size_t primes = 0;
    for (std::size_t block = 0; block < sieveBlockLimit; ++block)
        primes += sievePrimes(block).size();
    std::vector<int> sizes = {65536, 524280, 2147483640};
    for (int bits = 256; bits <= 16384; bits += 128)
        sizes.push_back(bits);
    for (const bool unwatched : {false, true})
        for (const int bits : sizes)
            for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
                eventsUnwatched = unwatched;
                const SievePlan plan = planSieve(bits, mode);
                EXPECT_GT(plan.primeCount, plan.smallCount) << bits;
                EXPECT_LT(plan.primeCount, primes) << bits;
                EXPECT_LE(plan.smallCount, sievePrimes(0).size()) << bits;
                EXPECT_EQ(0U, plan.segmentLength % 64) << bits;
                EXPECT_EQ(0U, plan.reach % plan.segmentLength) << bits;
                EXPECT_GE(plan.reach, plan.segmentLength) << bits;
                EXPECT_LE(plan.reach, longestSegment) << bits;
                const std::uint32_t mebibytes = bits < 1'000'000 ? 3 : 4;
                EXPECT_LE(plan.reach / 8 + plan.segmentLength / 8, mebibytes << 20)
                    << bits;
            }
}

} // namespace
