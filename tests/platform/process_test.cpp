#include "platform/process.h"

#include "platform/named_semaphore.h"
#include "platform/thread.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/death_test.h"
#include "tests/support/foreign_semaphore.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace
{

struct Neighbour {
    std::atomic<bool> started{false};
};

std::uint32_t neverEnd(void* argument)
{
    static_cast<Neighbour*>(argument)->started = true;
    for (;;)
        pauseThread(1000);
}

struct ShoutsWhenDestroyed {
    ~ShoutsWhenDestroyed()
    {
        std::fputs("destroyed", stdout);
    }
};

// Standard output of a process that is about to end.
void redirectOutputTo(const std::string& path)
{
    if (!std::freopen(path.c_str(), "wb", stdout))
        std::abort();
}

TEST(EndProcessDeathTest, GivesTheExitCodeOnToTheCaller)
{
    EXPECT_EXIT(endProcess(0), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(endProcess(96), testing::ExitedWithCode(96), "");
}

TEST(EndProcessDeathTest, WritesWhatStandardOutputHolds)
{
    const TemporaryFolder folder;
    const std::string path = sharedWithStatement("path", (folder / "output").string());
    EXPECT_EXIT(
        {
            redirectOutputTo(path);
            std::fputs("Result:65 ", stdout);
            endProcess(3);
        },
        testing::ExitedWithCode(3), "");
    EXPECT_EQ("Result:65 ", contentOf(path));
}

TEST(EndProcessDeathTest, DestroysNothing)
{
    const TemporaryFolder folder;
    const std::string path = sharedWithStatement("path", (folder / "output").string());
    EXPECT_EXIT(
        {
            redirectOutputTo(path);
            static const ShoutsWhenDestroyed object;
            endProcess(3);
        },
        testing::ExitedWithCode(3), "");
    EXPECT_EQ("", contentOf(path));
}

TEST(EndProcessDeathTest, EndsThreadsWhereverTheyAre)
{
    EXPECT_EXIT(
        {
            Neighbour neighbour;
            createThread(neverEnd, &neighbour);
            while (!neighbour.started)
                pauseThread(1);
            endProcess(5);
        },
        testing::ExitedWithCode(5), "");
}

TEST(EndProcessDeathTest, GivesNamedSemaphoresUp)
{
    const std::wstring unique = uniqueSemaphoreName(L"end");
    const std::string shared =
        sharedWithStatement("name", {unique.begin(), unique.end()});
    const std::wstring name(shared.begin(), shared.end());
    EXPECT_EXIT(
        {
            createNamedSemaphore(name.c_str(), 0, 1);
            endProcess(existsForeign(name) ? 5 : 6);
        },
        testing::ExitedWithCode(5), "");
    EXPECT_FALSE(existsForeign(name));
}

} // namespace
