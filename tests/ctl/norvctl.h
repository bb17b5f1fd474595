// Runs of norvctl, as people and scripts have them.
#pragma once

#include "tests/support/environment.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

inline Ending runNorvctl(const Arguments& arguments, const Streams& streams = {})
{
    return Process(NORVCTL_PROGRAM, arguments, streams).wait();
}

// A run that ended in time with this code, wrote no result, and said this one line.
inline void expectLine(int exitCode, const std::string& line, const Ending& ending)
{
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ(seenExitCode(exitCode), ending.exitCode);
    EXPECT_EQ("", ending.output);
    EXPECT_EQ(withNativeLineEnds("norvctl: " + line + "\n"), ending.errors);
}

// The one line of hex digits that a run wrote, in upper case; none for anything else.
inline std::string digitsOfLine(const std::string& output)
{
    std::string digits = output;
    if (digits.empty() || digits.back() != '\n')
        return {};
    digits.pop_back();
    if (digits.find_first_not_of("0123456789abcdef") != std::string::npos)
        return {};
    for (char& character : digits)
        if (character >= 'a')
            character = static_cast<char>(character - 'a' + 'A');
    return digits;
}

// Lets the stand-in for norv behave in a certain way while this exists.
class FakeNorv
{
public:
    explicit FakeNorv(const std::string& task)
        : task_("FAKE_NORV", task)
    {
    }

private:
    EnvironmentVariable task_;
};
