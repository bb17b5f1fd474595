// The driver in the test's own process, on a command line that the test writes.
#pragma once

#include "app/driver.h"
#include "prime/base_bits.h"
#include "prime/shortcuts.h"
#include "search/search_state.h"
#include "search/settings.h"
#include "search/stop_watcher.h"
#include "tests/fakes/clock.h"
#include "tests/fakes/command_line.h"
#include "tests/fakes/process.h"

#include <gtest/gtest.h>
#include <string>

class DriverFixture : public testing::Test
{
protected:
    // The driver leaves the shared state to the process's end.
    ~DriverFixture() override
    {
        BN_free(sharedBase);
        sharedBase = nullptr;
        maxDelta = 0;
        baseBits = 0;
        resultPrime = nullptr;
        stopWatcherReady = 0;
        noPrompt = 0;
        eventsUnwatched = false;
        outPrompt = nullptr;
        fakeCommandLine = nullptr;
        fakeProcessClock = [] {
            return 0;
        };
    }

    // Runs the program; what it prints goes to `output`, and whether it ended the
    // process to `endedProcess`. Gives the exit code.
    std::int32_t run(const wchar_t* line)
    {
        fakeCommandLine = line;
        endedProcess = false;
        testing::internal::CaptureStdout();
        const std::int32_t exitCode = runToItsEnd();
        output = testing::internal::GetCapturedStdout();
        return exitCode;
    }

    std::string output;
    bool endedProcess = false;

private:
    std::int32_t runToItsEnd()
    {
        try {
            return runProgram();
        } catch (const ProcessEnd& end) {
            endedProcess = true;
            return end.exitCode;
        }
    }
};
