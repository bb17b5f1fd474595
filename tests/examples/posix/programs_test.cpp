// The examples as programs.
#include "tests/examples/posix/caller.h"

#include "tests/ctl/norvctl.h"
#include "tests/examples/example.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/posix/program_path.h"

#include <filesystem>
#include <fstream>

namespace
{

const std::string examples = PROJECT_FOLDER "/examples/";

// An example, and what starts it.
struct Example {
    const char* name;
    Arguments command;
};

void PrintTo(const Example& example, std::ostream* out)
{
    *out << example.name;
}

class Program : public testing::TestWithParam<Example>
{
protected:
    static Arguments command(const Arguments& more)
    {
        Arguments all = GetParam().command;
        if (all[0].find('/') == std::string::npos)
            all[0] = programPath(all[0]);
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    static Ending run(const std::string& input, const Arguments& more = {})
    {
        const Arguments all = command(more);
        return Process(all[0], {all.begin() + 1, all.end()},
                       {Streams::Input::text, input})
            .wait();
    }

    static void expectPrime(const std::string& base, bool safe, const Ending& ending)
    {
        EXPECT_TRUE(ending.inTime);
        EXPECT_EQ(0, ending.exitCode);
        EXPECT_EQ("", ending.errors);
        ASSERT_FALSE(ending.output.empty());
        EXPECT_EQ('\n', ending.output.back());
        expectPrimeAbove(base, safe, ending.output.substr(0, ending.output.size() - 1));
    }

    // Without a result, and without anything of norv left.
    static void expectEnd(int exitCode, Caller& caller)
    {
        const Ending ending = caller.wait();
        EXPECT_TRUE(ending.inTime);
        EXPECT_EQ(exitCode, ending.exitCode);
        EXPECT_EQ("", ending.output);
        EXPECT_FALSE(caller.norvRuns());
        EXPECT_FALSE(existsForeign(caller.semaphore()));
    }

    static void expectError(const std::string& text, const Ending& ending)
    {
        EXPECT_TRUE(ending.inTime);
        EXPECT_EQ(1, ending.exitCode);
        EXPECT_EQ("", ending.output);
        EXPECT_NE(std::string::npos, ending.errors.find(": " + text)) << ending.errors;
        EXPECT_EQ(ending.errors.size() - 1, ending.errors.find('\n')) << ending.errors;
    }

    const EnvironmentVariable norv_{"NORV", NORV_PROGRAM};
    const EnvironmentVariable norvctl_{"NORVCTL", NORVCTL_PROGRAM};
};

TEST_P(Program, FindsAPrimeAboveTheBase)
{
    expectPrime(baseOf(512), false, run(baseOf(512) + "\n"));
}

TEST_P(Program, FindsASafePrime)
{
    expectPrime(baseOf(256), true, run(baseOf(256), {"--safe"}));
}

// The exit code of such a run of norv is 0.
TEST_P(Program, FindsAPrimeOf2048Bits)
{
    expectPrime(baseOf(2048), false, run(baseOf(2048)));
}

TEST_P(Program, EndsWithNorvByCtrlC)
{
    Caller caller(command({"--safe"}), hopelessBase);
    ASSERT_TRUE(caller.searches());
    caller.interrupt();
    expectEnd(130, caller);
}

TEST_P(Program, EndsWithNorvByARequestToTerminate)
{
    Caller caller(command({"--safe"}), hopelessBase);
    ASSERT_TRUE(caller.searches());
    caller.send(SIGTERM);
    expectEnd(143, caller);
}

// A killed run makes no file. On a starved machine a run may be killed before it has
// obeyed.
TEST_P(Program, EndsNorvByTheSemaphoreAlone)
{
    const TemporaryFolder folder;
    const FakeNorv fake("obey " + (folder / "file").string());
    const EnvironmentVariable norv("NORV", FAKE_NORV);
    for (int tries = 0; tries < 5 && contentOf(folder / "file").empty(); ++tries) {
        Caller caller(command({"--safe"}), hopelessBase);
        ASSERT_TRUE(caller.searches());
        caller.send(SIGTERM);
        EXPECT_EQ(143, caller.wait().exitCode);
    }
    EXPECT_EQ("released", contentOf(folder / "file"));
}

TEST_P(Program, KillsANorvThatDoesNotEnd)
{
    const FakeNorv fake("deaf");
    const EnvironmentVariable norv("NORV", FAKE_NORV);
    Caller caller(command({"--safe"}), hopelessBase);
    ASSERT_TRUE(caller.searches());
    caller.send(SIGTERM);
    expectEnd(143, caller);
}

TEST_P(Program, EndsNorvWhenItIsKilled)
{
    Caller caller(command({"--safe"}), hopelessBase);
    ASSERT_TRUE(caller.searches());
    EXPECT_TRUE(caller.norvRuns());
    caller.send(SIGKILL);
    caller.wait();
    EXPECT_TRUE(comesTrue([&] { return !caller.norvRuns(); }));
}

TEST_P(Program, SaysThatSomebodyElseStoppedTheRun)
{
    Caller caller(command({"--safe"}), hopelessBase);
    ASSERT_TRUE(caller.searches());
    EXPECT_TRUE(postForeign(caller.semaphore()));
    expectError(std::string(NORV_PROGRAM) +
                    " ended without a prime: somebody stopped it, "
                    "or it could not make its semaphore\n",
                caller.wait());
}

TEST_P(Program, GivesEachRunANameOfItsOwn)
{
    Caller first(command({"--safe"}), hopelessBase);
    Caller second(command({"--safe"}), hopelessBase);
    ASSERT_TRUE(first.searches());
    ASSERT_TRUE(second.searches());
    EXPECT_NE(first.semaphore(), second.semaphore());
    for (Caller* caller : {&first, &second}) {
        caller->send(SIGTERM);
        EXPECT_EQ(143, caller->wait().exitCode);
    }
}

TEST_P(Program, SaysThatThereIsNoNorv)
{
    const EnvironmentVariable norv("NORV", "/no/such/norv");
    const Ending ending = run(baseOf(64));
    EXPECT_NE(std::string::npos, ending.errors.find("/no/such/norv")) << ending.errors;
    expectError("", ending);
}

TEST_P(Program, SaysThatTheBaseIsNoHex)
{
    for (const char* base : {"ABC", "0x12", "xy"})
        expectError("the base must be pairs of hex digits\n", run(base));
}

TEST_P(Program, TakesNothingElseForAPrime)
{
    const EnvironmentVariable norv("NORV", FAKE_NORV);
    for (const char* task :
         {"print FF F1", "print FF F", "print FF f1 ", "print FF-F1-", "print FFF1  ",
          "print FF F-1", "print Result:FF F1 ", "print FF F1 FF "}) {
        const FakeNorv fake(task);
        expectError(std::string(FAKE_NORV) + " wrote something that is no prime\n",
                    run("FFFF"));
    }
    // The tests above see nothing else.
    const FakeNorv fake("print FF F1 ");
    EXPECT_EQ("FFF1\n", run("FFFF").output);
}

INSTANTIATE_TEST_SUITE_P(
    Of, Program,
    testing::Values(Example{"Cpp", {FIND_PRIME}},
                    Example{"Python", {"python3", examples + "python/norv.py"}},
                    Example{"Shell", {"/bin/sh", examples + "sh/find_prime.sh"}},
                    Example{"Bash", {"/bin/bash", examples + "sh/find_prime.sh"}}),
    testing::PrintToStringParamName());

// As a process does that another thread forks while norv starts.
TEST(CppProgram, EndsWithNorvThoughAnotherProcessHoldsTheOutput)
{
    const TemporaryFolder folder;
    const std::string script = (folder / "norv").string();
    const std::string holder = (folder / "holder").string();
    std::ofstream(script) << "#!/bin/sh\n"
                             "sleep 1000 2>/dev/null &\n"
                             "echo $! >"
                          << holder << "\nprintf 'FF F1 '\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    const EnvironmentVariable norv("NORV", script);
    const Ending ending = Process(FIND_PRIME, {}, {Streams::Input::text, "FFFF"}).wait();
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ("FFF1\n", ending.output);
    EXPECT_EQ(0, kill(std::stoi(contentOf(holder)), SIGKILL));
}

TEST(ShellProgram, SaysThatThereIsNoNorvctl)
{
    const EnvironmentVariable norv("NORV", NORV_PROGRAM);
    const EnvironmentVariable norvctl("NORVCTL", "/no/such/norvctl");
    const Ending ending = Process("/bin/sh", {examples + "sh/find_prime.sh"},
                                  {Streams::Input::text, "FFFF"})
                              .wait();
    EXPECT_EQ(1, ending.exitCode);
    EXPECT_EQ("find_prime.sh: there is no program /no/such/norvctl\n", ending.errors);
}

} // namespace
