#include "ctl/estimate.h"

#include <gtest/gtest.h>

namespace
{

// As long as an exponentiation, so that seconds count exponentiations.
constexpr MeasuredCosts unit{1, 1, 1, 1, 0};

TEST(EstimateSearch, CountsTheExponentiationsOfAPlainPrime)
{
    // 64 bits: one odd number in 22.2 is prime, and sieving up to 311 leaves 19.6 % of
    // them: 4.34 candidates; and 64 iterations of the prime.
    const Estimate estimate = estimateSearch(64, false, 1, 1, unit);
    EXPECT_NEAR(64 + 4.34, estimate.mean, 0.1);
}

TEST(EstimateSearch, CountsBothNumbersOfASafePrime)
{
    // 64 bits: (64 ln 2)^2 / (4 C2) = 745 numbers, of which C2 * 19.6 %^2 = 2.53 % are
    // left: 18.8 candidates. The half of one in four or so is tested, too: a number
    // without a factor up to 311 is prime with a chance of e^gamma ln 311 / (64 ln 2).
    const Estimate estimate = estimateSearch(64, true, 1, 1, unit);
    EXPECT_NEAR(128 + 18.8 * (1 + 0.23), estimate.mean, 0.5);
}

TEST(EstimateSearch, DividesTheSearchButNotTheConfirmation)
{
    const double one = estimateSearch(128, true, 1, 4, unit).mean - 128;
    const double four = estimateSearch(128, true, 4, 4, unit).mean - 128;
    EXPECT_NEAR(one / 4, four, one / 400);
}

TEST(EstimateSearch, SlowsEachThreadThatHasNoCoreOfItsOwn)
{
    const Estimate two = estimateSearch(128, true, 2, 2, unit);
    const Estimate eight = estimateSearch(128, true, 8, 2, unit);
    EXPECT_NEAR(two.mean - 128, eight.mean - 4 * 128, 1);
}

TEST(EstimateSearch, NeedsFewerTestsWhereTheSieveIsDeep)
{
    // Without a test of what the sieve knows, 1024 bits need 3671 exponentiations and
    // more; with the deep sieve less than a third.
    const double mean = estimateSearch(1024, true, 1, 1, unit).mean - 128;
    EXPECT_GT(3671 / 3.0, mean);
    EXPECT_LT(300, mean);
}

TEST(EstimateSearch, CountsWhatIsSievedAfterEachCandidate)
{
    MeasuredCosts costs = unit;
    costs.slice = 1;
    const double with = estimateSearch(1024, true, 1, 1, costs).mean;
    const double without = estimateSearch(1024, true, 1, 1, unit).mean;
    EXPECT_LT(without + 10, with);
    EXPECT_GT(without + 3671, with);
}

TEST(EstimateSearch, CountsTheFirstSlicesApart)
{
    MeasuredCosts costs = unit;
    costs.firstSlices = 10;
    costs.firstSlice = 1;
    const double without = estimateSearch(1024, true, 1, 1, unit).mean;
    const double with = estimateSearch(1024, true, 1, 1, costs).mean;
    EXPECT_NEAR(10, with - without, 1);
    // The others cost the same as before.
    costs.slice = 1;
    costs.firstSlice = 0;
    MeasuredCosts all = unit;
    all.slice = 1;
    EXPECT_NEAR(10,
                estimateSearch(1024, true, 1, 1, all).mean -
                    estimateSearch(1024, true, 1, 1, costs).mean,
                1);
}

TEST(EstimateSearch, CountsTheBeginOfTheSieveOnce)
{
    MeasuredCosts costs = unit;
    costs.begin = 7;
    const double without = estimateSearch(1024, true, 2, 2, unit).mean;
    EXPECT_NEAR(7, estimateSearch(1024, true, 2, 2, costs).mean - without, 0.01);
    // Threads without a core of their own begin one after the other.
    EXPECT_NEAR(14,
                estimateSearch(1024, true, 2, 1, costs).mean -
                    estimateSearch(1024, true, 2, 1, unit).mean,
                0.01);
}

TEST(EstimateSearch, HasAChanceThatRisesToOne)
{
    const Estimate estimate = estimateSearch(2048, true, 2, 2, unit);
    ASSERT_LT(2U, estimate.points.size());
    for (std::size_t i = 1; i < estimate.points.size(); ++i) {
        EXPECT_LT(estimate.points[i - 1].seconds, estimate.points[i].seconds);
        EXPECT_LT(estimate.points[i - 1].chance, estimate.points[i].chance);
    }
    EXPECT_EQ(0, estimate.points.front().chance);
    EXPECT_LT(0.999, estimate.points.back().chance);
}

TEST(ChanceBy, IsZeroBeforeTheConfirmationIsOver)
{
    const Estimate estimate = estimateSearch(64, false, 1, 1, unit);
    EXPECT_EQ(0, chanceBy(estimate, 0));
    EXPECT_EQ(0, chanceBy(estimate, 63.9));
    EXPECT_NEAR(1 - 1 / 2.71828, chanceBy(estimate, 64 + 4.34), 0.01);
    EXPECT_EQ(estimate.points.back().chance, chanceBy(estimate, 1e9));
}

TEST(SecondsFor, IsTheInverse)
{
    const Estimate estimate = estimateSearch(1024, true, 2, 2, unit);
    for (const double chance : {0.01, 0.1, 0.5, 0.9, 0.99})
        EXPECT_NEAR(chance, chanceBy(estimate, secondsFor(estimate, chance)), 1e-6);
    EXPECT_EQ(estimate.points.front().seconds, secondsFor(estimate, 0));
}

TEST(SecondsFor, HasTheMeanOfItsDistribution)
{
    // The mean is the integral of the quantiles.
    const Estimate estimate = estimateSearch(1024, true, 1, 1, unit);
    double sum = 0;
    constexpr int steps = 10000;
    for (int i = 0; i < steps; ++i)
        sum += secondsFor(estimate, (i + 0.5) / steps);
    EXPECT_NEAR(estimate.mean, sum / steps, 0.01 * estimate.mean);
}

// How well they foretell a search, tools/bench-ctl measures. The sizes differ so much
// that no load of the machine makes up for it.
TEST(MeasureCosts, GrowWithTheSize)
{
    const MeasuredCosts small = measureCosts(512, true, 1);
    const MeasuredCosts large = measureCosts(8192, true, 1);
    EXPECT_LT(0, small.rejection);
    EXPECT_LT(small.rejection, large.rejection);
    EXPECT_LT(small.loneIteration, large.loneIteration);
    EXPECT_LE(large.iteration, large.loneIteration);
    EXPECT_LE(large.rejection, large.halfTest);
    EXPECT_LT(0, small.slice);
    EXPECT_LT(0, small.begin);
}

// A whole test takes a minute there, so it is computed from a squaring.
TEST(MeasureCosts, AreThereForTheLargestSize)
{
    const MeasuredCosts costs = measureCosts(65536, false, 1);
    EXPECT_LT(measureCosts(8192, false, 1).rejection, costs.rejection);
    EXPECT_LT(costs.rejection, costs.iteration);
}

TEST(MeasureCosts, AreNothingForASieveThatIsNotUsed)
{
    const MeasuredCosts costs = measureCosts(128, true, 1);
    EXPECT_EQ(0, costs.slice);
    EXPECT_EQ(0, costs.begin);
    EXPECT_EQ(0, costs.firstSlices);
    EXPECT_LT(0, costs.rejection);
}

TEST(MeasureCosts, AreMeasuredOnManyThreads)
{
    const MeasuredCosts costs = measureCosts(1024, true, 8);
    EXPECT_LT(0, costs.rejection);
    EXPECT_LE(costs.rejection, costs.halfTest);
    EXPECT_LE(costs.iteration, costs.loneIteration);
    EXPECT_LT(0, costs.slice);
}

TEST(UsableProcessors, AreOneOrMore)
{
    EXPECT_LE(1, usableProcessors());
}

} // namespace
