#include "prime/small_primes.h"

#include <gtest/gtest.h>

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
}
