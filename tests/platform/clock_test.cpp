#include "platform/clock.h"

#include "platform/thread.h"

#include <chrono>
#include <ctime>
#include <gtest/gtest.h>

namespace
{

using Steady = std::chrono::steady_clock;

std::int64_t milliseconds(Steady::duration duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

TEST(CalendarTime, IsInSecondsSince1970)
{
    const std::int64_t before = std::time(nullptr);
    const std::int64_t now = calendarTime();
    const std::int64_t after = std::time(nullptr);
    EXPECT_LE(before, now);
    EXPECT_GE(after, now);
}

TEST(ProcessClock, CountsAThousandASecondOfWallTime)
{
    // The readings of another clock close each reading in: however slowly this
    // runs, the difference lies between theirs.
    const auto beforeFirst = Steady::now();
    const std::int32_t first = processClock();
    const auto afterFirst = Steady::now();
    pauseThread(30);
    const auto beforeSecond = Steady::now();
    const std::int32_t second = processClock();
    const auto afterSecond = Steady::now();

    EXPECT_GE(second - first, milliseconds(beforeSecond - afterFirst) - 1);
    EXPECT_LE(second - first, milliseconds(afterSecond - beforeFirst) + 1);
}

TEST(ProcessClock, HasCountedSinceTheProcessStarted)
{
    // A test program of its own, hours before the clock could wrap.
    EXPECT_LE(0, processClock());
    EXPECT_GT(60 * 60 * 1000, processClock());
}

TEST(ProcessClock, NeverGoesBack)
{
    std::int32_t last = processClock();
    const std::int32_t end = last + 5;
    while (last < end) {
        const std::int32_t now = processClock();
        ASSERT_LE(last, now);
        last = now;
    }
}

} // namespace
