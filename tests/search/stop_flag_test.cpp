#include "search/stop_flag.h"

#include "tests/search/search_fixture.h"

#include <gtest/gtest.h>

namespace
{

TEST(StopFlagOf, IsTheOneThatTheCallbackCarries)
{
    OneWayFlag flag{0};
    const OwnedCallback callback = makeCallback(flag);
    EXPECT_EQ(&flag, &stopFlagOf(callback.get()));
    stopFlagOf(callback.get()) = 1;
    EXPECT_EQ(1, flag);
}

} // namespace
