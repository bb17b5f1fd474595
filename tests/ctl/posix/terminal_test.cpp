// The line of progress on a terminal.
#include "tests/support/posix/terminal.h"

#include "tests/ctl/norvctl.h"

#include <csignal>
#include <iterator>
#include <regex>

namespace
{

// The arguments with which the shell becomes norvctl, with standard error to the
// terminal.
Arguments errorsTo(const Terminal& terminal, const Arguments& arguments)
{
    Arguments all{"-c", R"(exec "$@" 2>"$0")", terminal.path(), NORVCTL_PROGRAM};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

const Arguments longSearch{"generate", "4096", "--safe", "--threads", "2"};

TEST(ProgressOnATerminal, IsOneLineThatIsRenewed)
{
    Terminal terminal;
    Process searching(shell, errorsTo(terminal, longSearch));
    ASSERT_TRUE(terminal.shows("\r\033[Ksafe prime of 4096 bits, 2 threads: 0 s of "));
    ASSERT_TRUE(terminal.shows("\r\033[Ksafe prime of 4096 bits, 2 threads: 2"));
    EXPECT_EQ(std::string::npos, terminal.shown().find('\n'));
    EXPECT_EQ(0, kill(searching.id(), SIGINT));
    EXPECT_EQ(130, searching.wait().exitCode);
    const std::string end = "\r\033[Knorvctl: stopped by an interrupt (Ctrl-C)\n";
    const std::string shown = terminal.shown();
    ASSERT_LT(end.size(), shown.size());
    EXPECT_EQ(end, shown.substr(shown.size() - end.size()));
}

TEST(ProgressOnATerminal, StaysOnOneLineOfANarrowOne)
{
    Terminal terminal;
    terminal.setWidth(20);
    Process searching(shell, errorsTo(terminal, longSearch));
    ASSERT_TRUE(
        terminal.shows("\r\033[Ksafe prime of 4096 \r\033[Ksafe prime of 4096 \r"));
    EXPECT_EQ(0, kill(searching.id(), SIGINT));
    EXPECT_EQ(130, searching.wait().exitCode);
}

TEST(ProgressOnATerminal, GivesWayToTheResult)
{
    Terminal terminal;
    Process searching(shell, {"-c", R"(exec "$@" >"$0" 2>&1)", terminal.path(),
                              NORVCTL_PROGRAM, "generate", "64", "--count", "2"});
    EXPECT_EQ(0, searching.wait().exitCode);
    ASSERT_TRUE(terminal.shows(": 2 found after "));
    const std::string shown = terminal.shown();
    // Each result stands on a line of its own.
    const std::regex results("\r\033\\[K[0-9a-f]{16}\r?\n");
    EXPECT_EQ(2, std::distance(std::sregex_iterator(shown.begin(), shown.end(), results),
                               std::sregex_iterator()))
        << shown;
}

void expectPlainLines()
{
    Terminal terminal;
    Process searching(shell, errorsTo(terminal, {"generate", "64", "--threads", "1"}));
    const Ending ending = searching.wait();
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_TRUE(terminal.shows("found after "));
    EXPECT_EQ(std::string::npos, terminal.shown().find('\033'));
    EXPECT_EQ(std::string::npos, terminal.shown().find('\r'));
}

TEST(ProgressOnATerminal, MovesNoCursorWithNoColor)
{
    const EnvironmentVariable noColor("NO_COLOR", "1");
    expectPlainLines();
}

TEST(ProgressOnATerminal, MovesNoCursorWhereTheTerminalCannot)
{
    const EnvironmentVariable dumb("TERM", "dumb");
    expectPlainLines();
}

TEST(ProgressOnATerminal, IsSilentWhenAskedToBe)
{
    Terminal terminal;
    Process searching(
        shell, errorsTo(terminal, {"generate", "64", "--threads", "1", "--quiet"}));
    EXPECT_EQ(0, searching.wait().exitCode);
    EXPECT_EQ("", terminal.shown());
}

} // namespace
