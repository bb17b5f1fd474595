// Runs of the built program, as its callers have them.
#pragma once

#include "tests/end_to_end/texts.h"
#include "tests/support/comes_true.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

// Runs with a stop semaphore of the test's own.
class EndToEnd : public testing::Test
{
protected:
    explicit EndToEnd(std::wstring name = uniqueSemaphoreName())
        : semaphoreName(std::move(name))
    {
    }

    // Whatever ended the runs, no semaphore outlives them.
    void TearDown() override
    {
        EXPECT_FALSE(existsForeign(semaphoreName));
        removeForeign(semaphoreName);
    }

    Arguments withSemaphore(Arguments arguments) const
    {
        arguments.insert(arguments.begin(),
                         "-stopSemaphoreName=" +
                             std::string(semaphoreName.begin(), semaphoreName.end()));
        return arguments;
    }

    Ending run(const Arguments& arguments, const Streams& streams = {}) const
    {
        return Process(NORV_PROGRAM, withSemaphore(arguments), streams).wait();
    }

    Process start(const Arguments& arguments) const
    {
        return Process(NORV_PROGRAM, withSemaphore(arguments));
    }

    // Returns once a run has made the semaphore; false when none does.
    bool semaphoreAppears() const
    {
        return comesTrue([this] { return existsForeign(semaphoreName); });
    }

    std::wstring semaphoreName;
};

// A run that ended by itself, in time, with this exit code and, "\n" standing for
// a line end, this output; and that left standard error alone.
inline void expectEnding(int exitCode, const std::string& output, const Ending& ending)
{
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ(seenExitCode(exitCode), ending.exitCode);
    EXPECT_EQ(withNativeLineEnds(output), withoutSeconds(ending.output));
    EXPECT_EQ("", ending.errors);
}
