#include "search/stop_flag.h"

#include "tests/fakes/clock.h"
#include "tests/fakes/yield.h"
#include "tests/search/search_fixture.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace
{

class GiveWayTo : public testing::Test
{
public:
    GiveWayTo(const GiveWayTo&) = delete;
    GiveWayTo& operator=(const GiveWayTo&) = delete;

protected:
    GiveWayTo()
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

    ~GiveWayTo() override
    {
        fakeProcessClock = [] {
            return 0;
        };
        fakeYield = [] {
        };
    }

    StopFlag flag{0};
    int yields = 0;
    int setAtYield = 0;
    std::int32_t now = 5000;
    std::int32_t millisecondsOfAYield = 0;
};

TEST_F(GiveWayTo, DoesNotYieldToAFlagThatIsSet)
{
    flag = 1;
    giveWayTo(flag);
    EXPECT_EQ(0, yields);
}

TEST_F(GiveWayTo, ReturnsOnceTheFlagIsSet)
{
    setAtYield = 3;
    giveWayTo(flag);
    EXPECT_EQ(3, yields);
}

TEST_F(GiveWayTo, GivesUpOnAFlagThatIsNeverSet)
{
    giveWayTo(flag);
    EXPECT_LT(0, yields);
    EXPECT_EQ(0, flag);
}

TEST_F(GiveWayTo, GivesUpAfterHalfASecond)
{
    millisecondsOfAYield = 30;
    giveWayTo(flag);
    EXPECT_EQ(17, yields);
}

TEST_F(GiveWayTo, CountsTheTimeAlsoWhereTheClockWraps)
{
    now = 2147483647 - 40;
    fakeYield = [this] {
        ++yields;
        now = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) + 30U);
    };
    giveWayTo(flag);
    EXPECT_EQ(17, yields);
}

TEST(StopFlagOf, IsTheOneThatTheCallbackCarries)
{
    StopFlag flag{0};
    const OwnedCallback callback = makeCallback(flag);
    EXPECT_EQ(&flag, &stopFlagOf(callback.get()));
    stopFlagOf(callback.get()) = 1;
    EXPECT_EQ(1, flag);
}

} // namespace
