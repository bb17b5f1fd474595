#include "ctl/comparison.h"

#include <gtest/gtest.h>

namespace
{

TEST(MeanOf, HasTheErrorOfTheMean)
{
    // Deviations of -2, 0 and 2: variance 4, and 4 / 3 of the mean.
    const Mean mean = meanOf({1, 3, 5});
    EXPECT_DOUBLE_EQ(3, mean.value);
    EXPECT_DOUBLE_EQ(1.1547005383792515, mean.error);
    EXPECT_DOUBLE_EQ(0, meanOf({2, 2}).error);
}

TEST(RatioOf, AddsTheRelativeErrorsInQuadrature)
{
    // 30 % and 40 % make 50 %.
    const Mean ratio = ratioOf({10, 3}, {5, 2});
    EXPECT_DOUBLE_EQ(2, ratio.value);
    EXPECT_DOUBLE_EQ(1, ratio.error);
}

TEST(ComparisonText, TellsBothSidesAndTheirRatio)
{
    EXPECT_EQ("safe prime of 1024 bits, CPU time of one: mean +- standard error\n"
              "norv          3.0 s +- 1.2 s    3 searches\n"
              "libcrypto      12 s +- 2.0 s    2 searches\n"
              "libcrypto takes 4.00 +- 1.68 times the CPU time of norv\n",
              comparisonText({1024, true, {1, 3, 5}, {10, 14}}));
    EXPECT_EQ(0U, comparisonText({64, false, {1, 2}, {1, 2}}).find("prime of 64 bits,"));
}

// The system may count CPU time in steps of 16 ms.
TEST(ComparisonText, TellsNoRatioOfTimesThatAreTooShort)
{
    const std::string line =
        "too short to measure: the system counts CPU time in longer steps\n";
    EXPECT_EQ("prime of 64 bits, CPU time of one: mean +- standard error\n"
              "norv            0 s +- 0 s      2 searches\n"
              "libcrypto       0 s +- 0 s      2 searches\n" +
                  line,
              comparisonText({64, false, {0, 0}, {0, 0}}));
    for (const Comparison& comparison :
         {Comparison{64, false, {0, 0}, {1, 2}}, Comparison{64, false, {1, 2}, {0, 0}}})
        EXPECT_NE(std::string::npos, comparisonText(comparison).find("\n" + line));
}

} // namespace
