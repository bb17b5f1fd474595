// The driver in the test's own process, on a command line that the test writes.
#pragma once

#include "app/driver.h"
#include "search/search_state.h"
#include "tests/fakes/clock.h"
#include "tests/fakes/command_line.h"
#include "tests/fakes/process.h"
#include "tests/support/shared_state.h"

#include <gtest/gtest.h>
#include <string>

class DriverFixture : public SharedStateTest
{
protected:
    ~DriverFixture() override
    {
        resultPrime = nullptr; // freed by the driver
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
