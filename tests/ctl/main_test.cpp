#include "tests/ctl/norvctl.h"

#include <regex>

namespace
{

TEST(Norvctl, RefusesWrongUsage)
{
    expectLine(2,
               "a command is missing; the commands are generate, dhparam, check, "
               "compare, stop, estimate",
               runNorvctl({}));
    expectLine(2,
               "'--nonsense' is not expected here; 'norvctl generate --help' lists what "
               "is right",
               runNorvctl({"generate", "64", "--nonsense"}));
}

TEST(Norvctl, TellsItsVersionAndItsCommands)
{
    const Ending version = runNorvctl({"--version"});
    EXPECT_EQ(0, version.exitCode);
    EXPECT_EQ("", version.errors);
    EXPECT_TRUE(std::regex_match(version.output, std::regex("norvctl [0-9.]+\r?\n")))
        << version.output;
    const Ending help = runNorvctl({"--help"});
    EXPECT_EQ(0, help.exitCode);
    EXPECT_EQ("", help.errors);
    for (const char* command :
         {"generate", "dhparam", "check", "compare", "stop", "estimate"})
        EXPECT_NE(std::string::npos, help.output.find(command)) << command;
}

} // namespace
