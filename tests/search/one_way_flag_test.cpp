#include "search/one_way_flag.h"

#include "tests/fakes/clock.h"
#include "tests/fakes/yield.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace
{

class WaitBrieflyFor : public testing::Test
{
public:
    WaitBrieflyFor(const WaitBrieflyFor&) = delete;
    WaitBrieflyFor& operator=(const WaitBrieflyFor&) = delete;

protected:
    WaitBrieflyFor()
    {
        fakeProcessClock = [this] {
            return now;
        };
        fakeYield = [this] {
            now += millisecondsOfAYield;
            if (++yields == setAtYield)
                flag = 1;
        };
    }

    ~WaitBrieflyFor() override
    {
        fakeProcessClock = [] {
            return 0;
        };
        fakeYield = [] {
        };
    }

    OneWayFlag flag{0};
    int yields = 0;
    int setAtYield = 0;
    std::int32_t now = 5000;
    std::int32_t millisecondsOfAYield = 0;
};

TEST_F(WaitBrieflyFor, DoesNotYieldToAFlagThatIsSet)
{
    flag = 1;
    waitBrieflyFor(flag);
    EXPECT_EQ(0, yields);
}

TEST_F(WaitBrieflyFor, ReturnsOnceTheFlagIsSet)
{
    setAtYield = 3;
    waitBrieflyFor(flag);
    EXPECT_EQ(3, yields);
}

TEST_F(WaitBrieflyFor, GivesUpOnAFlagThatIsNeverSet)
{
    waitBrieflyFor(flag);
    EXPECT_LT(0, yields);
    EXPECT_EQ(0, flag);
}

TEST_F(WaitBrieflyFor, GivesUpAfterHalfASecond)
{
    millisecondsOfAYield = 30;
    waitBrieflyFor(flag);
    EXPECT_EQ(17, yields);
}

TEST_F(WaitBrieflyFor, CountsTheTimeAlsoWhereTheClockWraps)
{
    now = 2147483647 - 40;
    fakeYield = [this] {
        ++yields;
        now = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) + 30U);
    };
    waitBrieflyFor(flag);
    EXPECT_EQ(17, yields);
}

} // namespace
