#include "ctl/message.h"

#include <gtest/gtest.h>

namespace
{

TEST(DurationText, HasTwoDigitsThatMatter)
{
    EXPECT_EQ("0 s", durationText(0));
    EXPECT_EQ("0.4 ms", durationText(0.0004));
    EXPECT_EQ("9.9 ms", durationText(0.0099));
    EXPECT_EQ("10 ms", durationText(0.00999));
    EXPECT_EQ("850 ms", durationText(0.85));
    EXPECT_EQ("1.0 s", durationText(0.999));
    EXPECT_EQ("1.0 s", durationText(1));
    EXPECT_EQ("12 s", durationText(12.3));
    EXPECT_EQ("59 s", durationText(59));
    EXPECT_EQ("1.0 min", durationText(59.9));
    EXPECT_EQ("4.2 min", durationText(250));
    EXPECT_EQ("1.0 h", durationText(3600));
    EXPECT_EQ("47 h", durationText(47 * 3600));
    EXPECT_EQ("2.0 days", durationText(48 * 3600));
    EXPECT_EQ("1526 days", durationText(1526 * 86400.0));
}

TEST(SearchText, TellsKindSizeAndThreads)
{
    EXPECT_EQ("prime of 64 bits, 1 thread", searchText(64, false, 1));
    EXPECT_EQ("safe prime of 2048 bits, 2 threads", searchText(2048, true, 2));
}

TEST(Say, WritesOneLineWithTheProgramsName)
{
    testing::internal::CaptureStderr();
    say("what is wrong");
    EXPECT_EQ("norvctl: what is wrong\n", testing::internal::GetCapturedStderr());
}

TEST(Say, WritesOneLineOfANameWithCodesForTheTerminal)
{
    testing::internal::CaptureStderr();
    say("cannot write a\nb\033[31m\x7f\u00e9: why");
    EXPECT_EQ("norvctl: cannot write a?b?[31m?\u00e9: why\n",
              testing::internal::GetCapturedStderr());
}

} // namespace
