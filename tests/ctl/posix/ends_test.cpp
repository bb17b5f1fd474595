// How a run of norvctl ends before it has its prime, and that it leaves nothing behind.
#include "tests/ctl/norvctl.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/comes_true.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/posix/searchers.h"
#include "tests/support/posix/terminal.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <random>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{

// A search that takes minutes, into a file in an empty folder.
class Search : public testing::Test
{
protected:
    void start(Arguments more = {}, const std::string& bits = "4096")
    {
        Arguments arguments{"generate", bits,      "--safe",   "--threads",
                            "2",        "--quiet", "--output", output()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        norvctl = std::make_unique<Process>(NORVCTL_PROGRAM, arguments);
    }

    // Until each of `count` runs has its semaphore.
    bool searches(std::size_t count = 1)
    {
        return comesTrue([&] {
            searchers = searchersOf(norvctl->id());
            if (searchers.size() < count)
                return false;
            for (const Searcher& searcher : searchers)
                if (!existsForeign(searcher.semaphore))
                    return false;
            return true;
        });
    }

    void send(int number) const
    {
        EXPECT_EQ(0, ::kill(norvctl->id(), number));
    }

    // All that norvctl started has ended, and its folder holds these files.
    void expectNothingLeft(int files = 0) const
    {
        for (const Searcher& searcher : searchers) {
            EXPECT_FALSE(isAlive(searcher.process));
            EXPECT_FALSE(existsForeign(searcher.semaphore));
        }
        const std::filesystem::directory_iterator entries(folder / "");
        EXPECT_EQ(files, std::distance(begin(entries), end(entries)));
    }

    // Removes the file, and the one that was about to take its place. Each holds whole
    // lines, since no file has a name before it is whole.
    void removeWholeFiles(int most) const
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder / "")) {
            const std::size_t size = contentOf(entry.path()).size();
            EXPECT_LT(0U, size);
            EXPECT_EQ(0U, size % 17);
            EXPECT_LE(0, --most);
            std::filesystem::remove(entry.path());
        }
    }

    std::string output() const
    {
        return (folder / "prime").string();
    }

    TemporaryFolder folder;
    std::unique_ptr<Process> norvctl;
    std::vector<Searcher> searchers;
};

struct Request {
    int number;
    int exitCode;
    const char* line;
};

class RequestedEnd : public Search, public testing::WithParamInterface<Request>
{
};

TEST_P(RequestedEnd, LeavesNothingBehind)
{
    start();
    ASSERT_TRUE(searches());
    send(GetParam().number);
    expectLine(GetParam().exitCode, GetParam().line, norvctl->wait());
    expectNothingLeft();
}

TEST_P(RequestedEnd, IsObeyedBeforeThereIsASemaphore)
{
    start();
    ASSERT_TRUE(comesTrue([this] {
        searchers = searchersOf(norvctl->id());
        return !searchers.empty();
    }));
    send(GetParam().number);
    expectLine(GetParam().exitCode, GetParam().line, norvctl->wait());
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(
    By, RequestedEnd,
    testing::Values(Request{SIGINT, 130, "stopped by an interrupt (Ctrl-C)"},
                    Request{SIGTERM, 143, "stopped by a request to terminate"},
                    Request{SIGHUP, 129, "stopped because the terminal was closed"}),
    [](const auto& request) {
        return std::string(request.param.number == SIGINT    ? "Interrupt"
                           : request.param.number == SIGTERM ? "Termination"
                                                             : "HangUp");
    });

// The pipe of its input stays open.
TEST_P(RequestedEnd, IsObeyedWhileTheBaseIsWaitedFor)
{
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int writer = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(2, write(writer, "80", 2));
    norvctl = std::make_unique<Process>(
        shell, Arguments{"-c", R"(exec "$@" <"$0")", path, NORVCTL_PROGRAM, "generate",
                         "64", "--quiet", "--base-file", "-"});
    ASSERT_TRUE(comesTrue([writer] {
        int unread = -1;
        return ioctl(writer, FIONREAD, &unread) == 0 && unread == 0;
    }));
    send(GetParam().number);
    expectLine(GetParam().exitCode, GetParam().line, norvctl->wait());
    close(writer);
    expectNothingLeft(1);
}

TEST_F(Search, EndsAtItsTimeLimitWhileTheBaseIsWaitedFor)
{
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM,
        Arguments{"generate", "64", "--quiet", "--timeout", "0.1", "--base-file", "-"},
        Streams{Streams::Input::textAndOpen, "80"});
    expectLine(124, "no prime within the time limit of 100 ms", norvctl->wait());
}

TEST_F(Search, EndsAtItsTimeLimit)
{
    start({"--timeout", "0.5"});
    // On a slow machine the limit may come before its run has a semaphore.
    ASSERT_TRUE(comesTrue([this] {
        searchers = searchersOf(norvctl->id());
        return !searchers.empty() || !norvctl->isRunning();
    }));
    expectLine(124, "no prime within the time limit of 500 ms", norvctl->wait());
    expectNothingLeft();
}

// As after a log-out, with nohup.
TEST_F(Search, GoesOnAtASignalThatItsStarterIgnored)
{
    norvctl = std::make_unique<Process>(
        shell,
        Arguments{"-c", R"(trap "" HUP INT; exec "$0" "$@")", NORVCTL_PROGRAM, "generate",
                  "4096", "--safe", "--threads", "2", "--quiet", "--output", output()});
    ASSERT_TRUE(searches());
    send(SIGHUP);
    send(SIGINT);
    // A signal that it does not ignore comes after the others.
    send(SIGTERM);
    expectLine(143, "stopped by a request to terminate", norvctl->wait());
    expectNothingLeft();
}

// (2^32843 - 1)(2^32693 - 1), of 65536 bits: its factors are too large for a division,
// and a test of this size takes many seconds.
std::string composite()
{
    std::string bits(65536, '1');
    const auto subtract = [&bits](std::size_t power) {
        std::size_t place = bits.size() - 1 - power;
        while (bits[place] == '0')
            bits[place--] = '1';
        bits[place] = '0';
    };
    // 2^65536 - 2^32843 - 2^32693 + 1, from 2^65536 - 1.
    subtract(32843);
    subtract(32693);
    for (std::size_t place = bits.size() - 1, carry = 2; carry > 0; --place) {
        carry += bits[place] == '1' ? 1 : 0;
        bits[place] = carry % 2 ? '1' : '0';
        carry /= 2;
    }
    std::string pairs;
    for (std::size_t i = 0; i < bits.size(); i += 4) {
        pairs += "0123456789ABCDEF"[std::stoul(bits.substr(i, 4), nullptr, 2)];
        if (i % 8 == 4)
            pairs += ' ';
    }
    return pairs;
}

// Nothing but the check takes so much of a processor.
bool checksALargeNumber(int process)
{
    return processorSecondsOf(process) >= 2;
}

TEST_F(Search, EndsWhileItsPrimeIsChecked)
{
    const FakeNorv fake("print " + composite());
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM,
        Arguments{"generate", "65536", "--quiet", "--base-file", "-", "--output",
                  output(), "--norv", FAKE_NORV},
        Streams{Streams::Input::text, "8" + std::string(16383, '0')});
    ASSERT_TRUE(comesTrue([this] { return checksALargeNumber(norvctl->id()); }));
    send(SIGTERM);
    expectLine(143, "stopped by a request to terminate", norvctl->wait());
    expectNothingLeft();
}

TEST_F(Search, EndsWhileTheCheckOfAComparisonRuns)
{
    const FakeNorv fake("print " + composite());
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM, Arguments{"compare", "65536", "--quiet", "--norv", FAKE_NORV});
    ASSERT_TRUE(comesTrue([this] { return checksALargeNumber(norvctl->id()); }));
    send(SIGTERM);
    expectLine(143, "stopped by a request to terminate", norvctl->wait());
    expectNothingLeft();
}

TEST_P(RequestedEnd, OfAComparisonLeavesNothingBehind)
{
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM, Arguments{"compare", "4096", "--safe", "--quiet"});
    ASSERT_TRUE(searches());
    send(GetParam().number);
    expectLine(GetParam().exitCode, GetParam().line, norvctl->wait());
    expectNothingLeft();
}

TEST_P(RequestedEnd, OfARepeatedSearchLeavesNothingBehind)
{
    ASSERT_EQ(0, runNorvctl({"generate", "64", "--from", "a text", "--quiet", "--format",
                             "json", "--output", output()})
                     .exitCode);
    const TemporaryFolder other;
    const FakeNorv fake("obey " + (other / "released").string());
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM,
        Arguments{"check", "--replay", "--quiet", "--norv", FAKE_NORV, output()});
    ASSERT_TRUE(searches());
    send(GetParam().number);
    expectLine(GetParam().exitCode, GetParam().line, norvctl->wait());
    EXPECT_TRUE(std::filesystem::exists(other / "released"));
    expectNothingLeft(1);
}

// The watcher outlives norvctl, so it must not have the numbers of a file.
TEST_F(Search, HasItsWatcherBeforeItReadsWhatItRepeats)
{
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    norvctl =
        std::make_unique<Process>(NORVCTL_PROGRAM, Arguments{"check", "--replay", path});
    EXPECT_TRUE(comesTrue([this] { return childrenOf(norvctl->id()).size() == 1; }));
    norvctl->kill();
    norvctl->wait();
}

// No thread can start: its stack would be larger than any memory.
TEST_F(Search, EndsWithItsPrimeWhereNoThreadCanStart)
{
    const FakeNorv fake("print FF FF FF FF FF FF FF C5 ");
    const Ending ending =
        Process(shell, {"-c", R"(ulimit -s 70000000000 && exec "$@")", shell,
                        NORVCTL_PROGRAM, "generate", "64", "--threads", "2", "--norv",
                        FAKE_NORV, "--base", "ffffffffffffff00"})
            .wait();
    EXPECT_EQ(0, ending.exitCode) << ending.errors;
    EXPECT_EQ("ffffffffffffffc5\n", ending.output);
}

// The pipe is open and full, and stays so.
TEST_F(Search, EndsWhileNobodyReadsItsPrimes)
{
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_NE(-1, reader);
    const int room = fcntl(reader, F_SETPIPE_SZ, 4096);
    ASSERT_NE(-1, room);
    norvctl = std::make_unique<Process>(
        shell, Arguments{"-c", R"(exec "$@" >"$0")", path, NORVCTL_PROGRAM, "generate",
                         "64", "--threads", "1", "--count", "1000000", "--quiet"});
    constexpr int lineLength = 17;
    ASSERT_TRUE(comesTrue([&] {
        int held = 0;
        return ioctl(reader, FIONREAD, &held) == 0 && held > room - lineLength;
    }));
    // Only the watcher is left: the next prime is to be written.
    ASSERT_TRUE(comesTrue([this] { return childrenOf(norvctl->id()).size() == 1; }));
    send(SIGTERM);
    expectLine(143,
               "stopped by a request to terminate; written before: " +
                   std::to_string(room / lineLength) + " of 1000000",
               norvctl->wait());
    close(reader);
    expectNothingLeft(1);
}

TEST_F(Search, DoesNotWaitForWhatItsNorvLeavesRunning)
{
    const std::string script = (folder / "norv").string();
    const std::string left = (folder / "left").string();
    writeFile(script, "#!/bin/sh\nsleep 1000 &\necho $! >" + left +
                          "\nprintf 'FF FF FF FF FF FF FF C5 '\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    const Ending ending = runNorvctl(
        {"generate", "64", "--quiet", "--norv", script, "--base", "ffffffffffffff00"});
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ("ffffffffffffffc5\n", ending.output);
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ(0, ::kill(std::stoi(contentOf(left)), SIGKILL));
}

TEST_F(Search, OfSeveralRunsEndsWithAllOfThem)
{
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM, Arguments{"generate", "8192", "--safe", "--threads", "65",
                                   "--quiet", "--output", output()});
    ASSERT_TRUE(searches(2));
    send(SIGTERM);
    expectLine(143, "stopped by a request to terminate", norvctl->wait());
    expectNothingLeft();
}

TEST_F(Search, ThatIsKilledLeavesNoRunAndNoSemaphore)
{
    start();
    ASSERT_TRUE(searches());
    norvctl->kill();
    norvctl->wait();
    for (const Searcher& searcher : searchers) {
        EXPECT_TRUE(comesTrue([&] { return !isAlive(searcher.process); }));
        EXPECT_TRUE(comesTrue([&] { return !existsForeign(searcher.semaphore); }));
    }
    expectNothingLeft();
}

TEST_F(Search, ThatIsKilledAtAnyMomentLeavesNothing)
{
    for (int step = 0; step < 10; ++step) {
        start();
        // Steps of a run's start, by the number of its children and by its semaphore.
        ASSERT_TRUE(comesTrue([&] {
            searchers = searchersOf(norvctl->id());
            const std::size_t children = childrenOf(norvctl->id()).size();
            return step < 3 ? children >= static_cast<std::size_t>(step)
                   : step < 6
                       ? !searchers.empty()
                       : !searchers.empty() && existsForeign(searchers[0].semaphore);
        }));
        const std::vector<int> children = childrenOf(norvctl->id());
        norvctl->kill();
        norvctl->wait();
        for (const int child : children)
            EXPECT_TRUE(comesTrue([child] { return !isAlive(child); }));
        expectNothingLeft();
    }
}

// At moments that nobody chose, in a search that writes file after file.
TEST_F(Search, ThatIsEndedAtARandomMomentLeavesNothing)
{
    std::random_device seeds;
    const unsigned seed = seeds();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> microseconds(0, 60'000);
    constexpr int kills = 200;
    for (int i = 0; i < kills; ++i) {
        if (i % 2 == 0)
            start();
        else
            norvctl = std::make_unique<Process>(
                NORVCTL_PROGRAM,
                Arguments{"generate", "64", "--count", "1000000", "--threads", "2",
                          "--quiet", "--output", output()});
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        // It stands still while its children are counted.
        send(SIGSTOP);
        const std::vector<int> children = childrenOf(norvctl->id());
        searchers = searchersOf(norvctl->id());
        const int number = std::array{SIGKILL, SIGKILL, SIGINT, SIGTERM}[random() % 4];
        send(number);
        send(SIGCONT);
        EXPECT_TRUE(norvctl->wait().inTime);
        for (const int child : children)
            EXPECT_TRUE(comesTrue([child] { return !isAlive(child); }));
        for (const Searcher& searcher : searchers)
            EXPECT_TRUE(comesTrue([&] { return !existsForeign(searcher.semaphore); }));
        removeWholeFiles(i % 2 == 0 ? 0 : 2);
        expectNothingLeft();
        if (HasFailure())
            return;
    }
}

TEST_F(Search, IsWrittenForItsOwnerAlone)
{
    EXPECT_EQ(0,
              runNorvctl({"generate", "64", "--quiet", "--output", output()}).exitCode);
    EXPECT_EQ(std::filesystem::perms{0600},
              std::filesystem::status(output()).permissions());
}

TEST_F(Search, WhoseNorvIsKilledSaysSo)
{
    start();
    ASSERT_TRUE(searches());
    ASSERT_EQ(0, ::kill(searchers[0].process, SIGKILL));
    expectLine(3, std::string(NORV_PROGRAM) + " was killed by signal 9", norvctl->wait());
    expectNothingLeft();
}

TEST_F(Search, WhoseSemaphoreSomebodyReleasesSaysSo)
{
    start();
    ASSERT_TRUE(searches());
    EXPECT_TRUE(postForeign(searchers[0].semaphore));
    expectLine(3,
               std::string(NORV_PROGRAM) +
                   " ended without a prime: somebody released its semaphore, or it "
                   "could not make one",
               norvctl->wait());
    expectNothingLeft();
}

TEST_F(Search, KeepsWhatWasWrittenWhenItIsStopped)
{
    norvctl = std::make_unique<Process>(NORVCTL_PROGRAM,
                                        Arguments{"generate", "64", "--count", "1000000",
                                                  "--quiet", "--output", output()});
    ASSERT_TRUE(comesTrue([this] { return std::filesystem::exists(output()); }));
    send(SIGTERM);
    const Ending ending = norvctl->wait();
    const std::string lines = contentOf(output());
    EXPECT_LT(0U, lines.size());
    EXPECT_EQ(0U, lines.size() % 17);
    expectLine(143,
               "stopped by a request to terminate; written before: " +
                   std::to_string(lines.size() / 17) + " of 1000000",
               ending);
    expectNothingLeft(1);
}

class DeafNorv : public Search
{
protected:
    void expectKilledByASecondInterrupt()
    {
        ASSERT_TRUE(searches());
        send(SIGINT);
        // Its semaphore has been released, and norv has not ended.
        ASSERT_TRUE(
            comesTrue([this] { return countForeign(searchers[0].semaphore) == 1; }));
        EXPECT_TRUE(isAlive(searchers[0].process));
        send(SIGINT);
        expectLine(130, "stopped by an interrupt (Ctrl-C)", norvctl->wait());
        expectNothingLeft();
    }

    FakeNorv fake{"deaf"};
};

TEST_F(DeafNorv, IsKilledByASecondInterrupt)
{
    start({"--norv", FAKE_NORV});
    expectKilledByASecondInterrupt();
}

TEST_F(DeafNorv, OfAComparisonIsKilledByASecondInterrupt)
{
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM, Arguments{"compare", "4096", "--quiet", "--norv", FAKE_NORV});
    expectKilledByASecondInterrupt();
}

TEST_F(Search, WhoseNorvNeverEndsIsKilledAfterAWhile)
{
    const FakeNorv fake("hang");
    start({"--norv", FAKE_NORV});
    ASSERT_TRUE(comesTrue([this] {
        searchers = searchersOf(norvctl->id());
        return !searchers.empty();
    }));
    send(SIGTERM);
    expectLine(143, "stopped by a request to terminate", norvctl->wait());
    expectNothingLeft();
}

TEST_F(Search, IsLeftToNorvctlByASignalForAllProcessesOfTheTerminal)
{
    start();
    ASSERT_TRUE(searches());
    for (const int number : {SIGINT, SIGHUP, SIGTERM})
        EXPECT_EQ(0, ::kill(searchers[0].process, number));
    EXPECT_TRUE(norvctl->isRunning());
    EXPECT_TRUE(existsForeign(searchers[0].semaphore));
    send(SIGINT);
    expectLine(130, "stopped by an interrupt (Ctrl-C)", norvctl->wait());
    expectNothingLeft();
}

TEST_F(Search, HasNeitherItsBaseNorItsPrimeOnACommandLine)
{
    const std::string base(1024, 'e');
    norvctl = std::make_unique<Process>(
        NORVCTL_PROGRAM,
        Arguments{"generate", "4096", "--safe", "--quiet", "--base-file", "-"},
        Streams{Streams::Input::text, base});
    ASSERT_TRUE(searches());
    for (const std::string& argument : argumentsOf(searchers[0].process))
        EXPECT_GT(100U, argument.size());
    send(SIGTERM);
    norvctl->wait();
    expectNothingLeft();
}

} // namespace
