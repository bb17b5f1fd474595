// How the arguments that a process was started with become one line again.
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

const std::string helper = COMMAND_LINE_HELPER;

// The command line of a process with these arguments, behind the program's path.
std::string lineOf(const std::vector<std::string>& arguments)
{
    Process process(helper, arguments);
    const std::string line = process.wait().output;
    const bool quoted = helper.find(' ') != std::string::npos;
    const std::string path = quoted ? '"' + helper + '"' : helper;
    EXPECT_EQ(path, line.substr(0, path.size()));
    return line.substr(path.size());
}

TEST(CommandLine, IsTheProgramsPathWhenThereAreNoArguments)
{
    EXPECT_EQ("", lineOf({}));
}

TEST(CommandLine, SeparatesArgumentsByABlank)
{
    EXPECT_EQ(" -threads 8 -safe", lineOf({"-threads", "8", "-safe"}));
}

TEST(CommandLine, PutsAnArgumentWithABlankInQuotes)
{
    EXPECT_EQ(" -outPrompt \"a b c\" x", lineOf({"-outPrompt", "a b c", "x"}));
}

TEST(CommandLine, PutsAnEmptyArgumentInQuotes)
{
    EXPECT_EQ(" \"\" x", lineOf({"", "x"}));
    EXPECT_EQ(" x \"\"", lineOf({"x", ""}));
}

TEST(CommandLine, KeepsArgumentsBeyondAscii)
{
    EXPECT_EQ(" Gr\xC3\xB6\xC3\x9F-1", lineOf({"Gr\xC3\xB6\xC3\x9F-1"}));
}

TEST(CommandLine, KeepsBytesThatAreNoText)
{
    EXPECT_EQ(" a\xFF\xC3z", lineOf({"a\xFF\xC3z"}));
}

TEST(CommandLine, KeepsALongLine)
{
    const std::string digits(100000, 'F');
    EXPECT_EQ(" -base " + digits, lineOf({"-base", digits}));
}

} // namespace
