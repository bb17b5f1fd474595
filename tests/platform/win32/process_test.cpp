// The ends of a process, as its caller sees them.
#include "platform/process.h"

#include "platform/named_semaphore.h"
#include "tests/support/foreign_semaphore.h"

#include <exception>
#include <gtest/gtest.h>
#include <new>
#include <string>

namespace
{

TEST(EndProcessDeathTest, GivesTheCallerAll32BitsOfTheExitCode)
{
    EXPECT_EXIT(endProcess(-1), testing::ExitedWithCode(-1), "");
    EXPECT_EXIT(endProcess(-2), testing::ExitedWithCode(-2), "");
    EXPECT_EXIT(endProcess(768), testing::ExitedWithCode(768), "");
    EXPECT_EXIT(endProcess(0x12345678), testing::ExitedWithCode(0x12345678), "");
}

TEST(PrepareProcessDeathTest, MakesAnUncaughtExceptionEndItWithoutAWord)
{
    EXPECT_EXIT(
        {
            prepareProcess();
            std::terminate(); // as an exception without a handler does
        },
        testing::ExitedWithCode(3), "^$");
}

} // namespace
