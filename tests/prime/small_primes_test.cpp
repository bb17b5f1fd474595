#include "prime/small_primes.h"

#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>

TEST(SmallPrimes, AreTheFirst2048InOrder)
{
    ASSERT_EQ(2048u, smallPrimes.size());
    EXPECT_EQ(2, smallPrimes.front());
    EXPECT_EQ(17863, smallPrimes.back());
    for (int i = 0; i < 2048; ++i)
        ASSERT_EQ(oracle::smallPrime(i), smallPrimes[static_cast<std::size_t>(i)]) << i;
}

TEST(SmallPrimes, EndForEachSizeAtThePrimeThatItsOffsetsAllow)
{
    EXPECT_EQ(311, smallPrimes[64 - 1]);
    EXPECT_EQ(719, smallPrimes[128 - 1]);
    EXPECT_EQ(2657, smallPrimes[384 - 1]);
    EXPECT_EQ(8161, smallPrimes[1024 - 1]);
}

TEST(TrialDivisions, GrowAtTheSizesWhereATestCostsMore)
{
    EXPECT_EQ(64, trialDivisions(8));
    EXPECT_EQ(64, trialDivisions(512));
    EXPECT_EQ(128, trialDivisions(513));
    EXPECT_EQ(128, trialDivisions(1024));
    EXPECT_EQ(384, trialDivisions(1025));
    EXPECT_EQ(384, trialDivisions(2048));
    EXPECT_EQ(1024, trialDivisions(2049));
    EXPECT_EQ(1024, trialDivisions(4096));
    EXPECT_EQ(2048, trialDivisions(4097));
    EXPECT_EQ(2048, trialDivisions(1 << 20));
}

TEST(MaxDelta, IsTheComplementOfTheLargestPrimeUsed)
{
    EXPECT_EQ(0xFFFFFFFFFFFFFEC8u, maxDeltaFor(8));
    EXPECT_EQ(0xFFFFFFFFFFFFFEC8u, maxDeltaFor(512));
    EXPECT_EQ(0xFFFFFFFFFFFFFD30u, maxDeltaFor(513));
    EXPECT_EQ(0xFFFFFFFFFFFFFD30u, maxDeltaFor(1024));
    EXPECT_EQ(0xFFFFFFFFFFFFF59Eu, maxDeltaFor(1025));
    EXPECT_EQ(0xFFFFFFFFFFFFF59Eu, maxDeltaFor(2048));
    EXPECT_EQ(0xFFFFFFFFFFFFE01Eu, maxDeltaFor(2049));
    EXPECT_EQ(0xFFFFFFFFFFFFE01Eu, maxDeltaFor(4096));
    EXPECT_EQ(0xFFFFFFFFFFFFBA38u, maxDeltaFor(4097));
}
