#include "platform/cpu_time.h"

#include <gtest/gtest.h>

namespace
{

TEST(ThreadCpuSeconds, GrowWithTheWorkOfTheThread)
{
    const double before = threadCpuSeconds();
    volatile unsigned sum = 0;
    double seconds = 0;
    // The clock of some systems has steps of 16 ms.
    for (int i = 0; i < 2'000'000'000 && seconds < 0.04; ++i) {
        sum = sum + 1;
        if (i % 1'000'000 == 0)
            seconds = threadCpuSeconds() - before;
    }
    EXPECT_LE(0.04, seconds);
    EXPECT_GT(100, seconds);
}

} // namespace
