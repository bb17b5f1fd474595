#include "ctl/progress.h"

#include <gtest/gtest.h>

namespace
{

class ProgressTest : public testing::Test
{
protected:
    ProgressTest()
    {
        progress.shown = true;
        progress.bits = 64;
        progress.threads = 1;
        progress.estimate.points = {{0, 0}, {10, 0.5}, {100, 0.99}};
        progress.estimate.mean = 15;
        testing::internal::CaptureStderr();
    }

    Progress progress;
};

TEST_F(ProgressTest, TellsTheTimeTheMeanAndTheChance)
{
    EXPECT_EQ("0 s of 15 s on average, chance 0 %", progressText(progress, 0));
    EXPECT_EQ("5.0 s of 15 s on average, chance 25 %", progressText(progress, 5));
    EXPECT_EQ("17 min of 15 s on average, chance 99 %", progressText(progress, 1000));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(ProgressTest, TellsTheTimeLeftOfSeveralPrimes)
{
    progress.count = 20;
    progress.done = 4;
    EXPECT_EQ("5.0 s of 15 s on average, chance 25 %; 4 of 20 done, about 4.0 min left",
              progressText(progress, 5));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(ProgressTest, IsALineAtTheStartAndOneAtTheEndWhereItIsNotRenewed)
{
    showStart(progress);
    showElapsed(progress, 1);
    showElapsed(progress, 2);
    showEnd(progress, 5, 5);
    EXPECT_EQ("norvctl: prime of 64 bits, 1 thread: 0 s of 15 s on average, chance 0 %\n"
              "norvctl: prime of 64 bits, 1 thread: found after 5.0 s of 15 s on "
              "average, chance 25 %\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(ProgressTest, TellsTheMeanOfSeveralPrimesAtTheEnd)
{
    progress.count = 4;
    progress.done = 4;
    showEnd(progress, 40, 5);
    EXPECT_EQ("norvctl: prime of 64 bits, 1 thread: 4 found after 40 s, 10 s each; 15 s "
              "on average\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(ProgressTest, IsSilentWhenItIsNotShown)
{
    progress.shown = false;
    showStart(progress);
    showElapsed(progress, 1);
    showEnd(progress, 5, 5);
    clearProgress(progress);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

} // namespace
