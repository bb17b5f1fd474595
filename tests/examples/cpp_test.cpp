#include "examples/cpp/norv.h"

#include "tests/ctl/norvctl.h"
#include "tests/examples/example.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/comes_true.h"
#include "tests/support/foreign_semaphore.h"

#include <future>
#include <sstream>

namespace
{

using Kind = norv::Outcome::Kind;

std::wstring wideName(const norv::Search& search)
{
    return {search.semaphore.begin(), search.semaphore.end()};
}

// Searches with the real norv, of which no semaphore stays.
class CppHeader : public testing::Test
{
protected:
    CppHeader()
    {
        search.program = NORV_PROGRAM;
        search.threads = 2;
        search.semaphore = norv::freshName();
    }

    void TearDown() override
    {
        EXPECT_FALSE(existsForeign(wideName(search)));
    }

    norv::Outcome find()
    {
        return norv::findPrime(search, cancelled);
    }

    void expectFound(const std::string& base)
    {
        search.base = base;
        const norv::Outcome outcome = find();
        ASSERT_EQ(Kind::found, outcome.kind) << outcome.message;
        expectPrimeAbove(base, search.safe, outcome.prime);
    }

    std::future<norv::Outcome> start()
    {
        return std::async(std::launch::async, [this] { return find(); });
    }

    void searchForHours()
    {
        search.base = hopelessBase;
        search.safe = true;
    }

    bool semaphoreAppears()
    {
        return comesTrue([this] { return existsForeign(wideName(search)); });
    }

    norv::Search search;
    std::atomic<bool> cancelled = false;
};

TEST_F(CppHeader, FindsAPrimeAboveTheBase)
{
    expectFound(baseOf(512));
}

TEST_F(CppHeader, FindsASafePrime)
{
    search.safe = true;
    expectFound(baseOf(256));
}

// On Linux the exit code of such a run is 0.
TEST_F(CppHeader, FindsAPrimeOf2048Bits)
{
    expectFound(baseOf(2048));
}

TEST_F(CppHeader, TakesABaseInLowerCase)
{
    search.base = "ff00ff00ff00ff00ff00";
    EXPECT_EQ(Kind::found, find().kind);
}

TEST_F(CppHeader, GivesEachRunANameOfItsOwn)
{
    const TemporaryFolder folder;
    const FakeNorv fake("name " + (folder / "names").string());
    search.program = FAKE_NORV;
    search.base = baseOf(64);
    norv::Search nameless = search;
    nameless.semaphore.clear();
    for (int run = 0; run < 2; ++run)
        EXPECT_EQ(Kind::failed, norv::findPrime(nameless, cancelled).kind);
    find();
    std::istringstream names(contentOf(folder / "names"));
    std::string first;
    std::string second;
    std::string third;
    names >> first >> second >> third;
    EXPECT_EQ(37U, first.size());
    EXPECT_EQ(37U, second.size());
    EXPECT_NE(first, second);
    EXPECT_EQ(search.semaphore, third);
}

TEST_F(CppHeader, CancelsASearchWhileItRuns)
{
    searchForHours();
    std::future<norv::Outcome> outcome = start();
    ASSERT_TRUE(semaphoreAppears());
    cancelled = true;
    EXPECT_EQ(Kind::cancelled, outcome.get().kind);
}

TEST_F(CppHeader, CancelsASearchThatHasNoSemaphoreYet)
{
    searchForHours();
    cancelled = true;
    EXPECT_EQ(Kind::cancelled, find().kind);
}

// A killed run makes no file. On a starved machine a run may be killed before it has
// obeyed.
TEST_F(CppHeader, CancelsByTheSemaphoreAlone)
{
    const TemporaryFolder folder;
    const FakeNorv fake("obey " + (folder / "file").string());
    search.program = FAKE_NORV;
    searchForHours();
    for (int tries = 0; tries < 5 && contentOf(folder / "file").empty(); ++tries) {
        cancelled = false;
        std::future<norv::Outcome> outcome = start();
        ASSERT_TRUE(semaphoreAppears());
        cancelled = true;
        EXPECT_EQ(Kind::cancelled, outcome.get().kind);
    }
    EXPECT_EQ("released", contentOf(folder / "file"));
}

TEST_F(CppHeader, KillsARunThatDoesNotEndWhenItIsCancelled)
{
    search.program = FAKE_NORV;
    searchForHours();
    for (const char* task : {"hang", "deaf"}) {
        const FakeNorv fake(task);
        cancelled = true;
        EXPECT_EQ(Kind::cancelled, find().kind);
        EXPECT_FALSE(existsForeign(wideName(search)));
    }
}

TEST_F(CppHeader, SaysThatSomebodyElseStoppedTheRun)
{
    searchForHours();
    std::future<norv::Outcome> started = start();
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(wideName(search)));
    const norv::Outcome outcome = started.get();
    EXPECT_EQ(Kind::failed, outcome.kind);
    EXPECT_EQ(std::string(NORV_PROGRAM) + " ended without a prime: somebody stopped it, "
                                          "or it could not make its semaphore",
              outcome.message);
}

TEST_F(CppHeader, SaysThatThereIsNoNorv)
{
    search.program = "/no/such/norv";
    search.base = baseOf(64);
    const norv::Outcome outcome = find();
    EXPECT_EQ(Kind::failed, outcome.kind);
    EXPECT_EQ(0U, outcome.message.find("/no/such/norv cannot be started: "))
        << outcome.message;
}

TEST_F(CppHeader, SaysWhatIsWrongWithTheBase)
{
    for (const char* base : {"", "F", "ABC", "0x12", "12 34 "}) {
        search.base = base;
        const norv::Outcome outcome = find();
        EXPECT_EQ(Kind::failed, outcome.kind);
        EXPECT_EQ("the base must be pairs of hex digits", outcome.message);
    }
}

TEST_F(CppHeader, SaysWhatIsWrongWithTheNumberOfThreads)
{
    search.base = baseOf(64);
    for (const int threads : {0, 64}) {
        search.threads = threads;
        EXPECT_EQ("norv takes 1 to 63 threads", find().message);
    }
}

TEST_F(CppHeader, TakesNothingElseForAPrime)
{
    search.program = FAKE_NORV;
    search.base = "FFFF";
    for (const char* task :
         {"print FF F1", "print FF F", "print FF f1 ", "print FF-F1-", "print FFF1  ",
          "print FF F-1", "print Result:FF F1 ", "print FF F1 FF ", "endless"}) {
        const FakeNorv fake(task);
        const norv::Outcome outcome = find();
        EXPECT_EQ(Kind::failed, outcome.kind) << task;
        EXPECT_EQ(std::string(FAKE_NORV) + " wrote something that is no prime",
                  outcome.message)
            << task;
    }
    // The tests above see nothing else.
    const FakeNorv fake("print FF F1 ");
    EXPECT_EQ("FFF1", find().prime);
}

TEST(CppProgram, FindsAPrimeAboveTheBase)
{
    const EnvironmentVariable norv("NORV", NORV_PROGRAM);
    const Ending ending =
        Process(FIND_PRIME, {"--safe"}, {Streams::Input::text, baseOf(128) + "\n"})
            .wait();
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ("", ending.errors);
    const std::string lineEnd = withNativeLineEnds("\n");
    ASSERT_LT(lineEnd.size(), ending.output.size());
    const std::size_t digits = ending.output.size() - lineEnd.size();
    EXPECT_EQ(lineEnd, ending.output.substr(digits));
    expectPrimeAbove(baseOf(128), true, ending.output.substr(0, digits));
}

TEST(CppProgram, SaysHowItIsUsed)
{
    const Ending ending = Process(FIND_PRIME, {"--sage"}).wait();
    EXPECT_EQ(2, ending.exitCode);
    EXPECT_EQ("", ending.output);
    EXPECT_EQ(0U, ending.errors.find("usage: find_prime ")) << ending.errors;
}

} // namespace
