// The line that a process was started with comes through as it was written.
#include "tests/support/process.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

// The command line of a process with these arguments, behind the program's path.
std::string lineOf(const std::vector<std::string>& arguments)
{
    const std::string helper = COMMAND_LINE_HELPER;
    const std::string name = std::filesystem::path(helper).filename().string();
    const std::string line = Process(helper, arguments).wait().output;
    const auto found = line.find(name);
    if (found == std::string::npos)
        return "no program in " + line;
    const std::string rest = line.substr(found + name.size());
    const bool quoted = line.front() == '"' && !rest.empty() && rest.front() == '"';
    return quoted ? rest.substr(1) : rest;
}

TEST(CommandLine, IsTheProgramsPathWhenThereAreNoArguments)
{
    EXPECT_EQ("", lineOf({}));
}

TEST(CommandLine, KeepsArgumentsAsTheyStand)
{
    EXPECT_EQ(" -threads 8 -safe", lineOf({"-threads", "8", "-safe"}));
}

TEST(CommandLine, KeepsQuotes)
{
    EXPECT_EQ(" -outPrompt \"a b c\" x", lineOf({"-outPrompt", "a b c", "x"}));
    EXPECT_EQ(" \"\" x", lineOf({"", "x"}));
    EXPECT_EQ(" x \"\"", lineOf({"x", ""}));
}

TEST(CommandLine, KeepsBackslashesAndLoneQuotes)
{
    EXPECT_EQ(R"( a\"b c:\d\ ")", lineOf({R"(a\"b)", R"(c:\d\)", "\""}));
}

TEST(CommandLine, KeepsArgumentsBeyondAscii)
{
    const std::string text = "Gr\xC3\xB6\xC3\x9F-\xE6\x97\xA5\xF0\x9F\x94\x91";
    EXPECT_EQ(" " + text, lineOf({text}));
}

TEST(CommandLine, KeepsALongLine)
{
    // The system takes 32767 characters.
    const std::string digits(32000, 'F');
    EXPECT_EQ(" -base " + digits, lineOf({"-base", digits}));
}

} // namespace
