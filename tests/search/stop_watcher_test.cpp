#include "search/stop_watcher.h"

#include "search/search_state.h"
#include "tests/fakes/named_semaphore.h"
#include "tests/platform/run_threads.h"
#include "tests/search/search_fixture.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

class StopWatcher : public SearchFixture
{
protected:
    StopWatcher()
    {
        fakeSemaphore = {};
    }

    std::uint32_t watch(const wchar_t* semaphoreName)
    {
        SearchContext context{&lock, callback.get(), semaphoreName, 0};
        return stopWatcherThreadProc(&context);
    }

    using Calls = std::vector<std::string>;
};

TEST_F(StopWatcher, CreatesWaitsAndCloses)
{
    EXPECT_EQ(0U, watch(L"stop"));
    EXPECT_EQ((Calls{"create stop 0 1", "wait", "close"}), fakeSemaphore.calls);
}

TEST_F(StopWatcher, SetsTheFlagOnlyAfterTheWait)
{
    int flagInWait = -1;
    fakeSemaphore.onWait = [&] {
        flagInWait = stopFlag;
    };
    watch(L"stop");
    EXPECT_EQ(0, flagInWait);
    EXPECT_EQ(1, stopFlag);
}

TEST_F(StopWatcher, SetsTheFlagBeforeItGivesTheSemaphoreUp)
{
    int flagAtClose = -1;
    fakeSemaphore.onClose = [&] {
        flagAtClose = stopFlag;
    };
    watch(L"stop");
    EXPECT_EQ(1, flagAtClose);
}

TEST_F(StopWatcher, IsReadyOnceItHasItsSemaphore)
{
    int readyBefore = -1;
    int readyInWait = -1;
    fakeSemaphore.onCreate = [&] {
        readyBefore = stopWatcherReady;
    };
    fakeSemaphore.onWait = [&] {
        readyInWait = stopWatcherReady;
    };
    watch(L"stop");
    EXPECT_EQ(0, readyBefore);
    EXPECT_EQ(1, readyInWait);
}

TEST_F(StopWatcher, SetsTheFlagAtOnceWithoutAName)
{
    EXPECT_EQ(0U, watch(nullptr));
    EXPECT_EQ(1, stopFlag);
    EXPECT_EQ(1, stopWatcherReady);
    EXPECT_EQ(Calls{}, fakeSemaphore.calls);
}

TEST_F(StopWatcher, SetsTheFlagAtOnceWhenItGetsNoSemaphore)
{
    fakeSemaphore.canCreate = false;
    EXPECT_EQ(0U, watch(L"stop"));
    EXPECT_EQ(1, stopFlag);
    EXPECT_EQ(1, stopWatcherReady);
    EXPECT_EQ(Calls{"create stop 0 1"}, fakeSemaphore.calls);
}

TEST_F(StopWatcher, LetsNobodySeeItReadyBeforeTheFlagWhenItGetsNoSemaphore)
{
    fakeSemaphore.canCreate = false;
    // What whoever waits for the watcher sees of the flag at once.
    struct Look {
        const OneWayFlag& flag;
        int seen;
    };
    const ThreadProc look = [](void* argument) {
        auto* one = static_cast<Look*>(argument);
        while (stopWatcherReady == 0) {
        }
        one->seen = one->flag;
        return 0U;
    };
    for (int i = 0; i < 10'000; ++i) {
        stopWatcherReady = 0;
        stopFlag = 0;
        Look one{stopFlag, -1};
        const auto looking = startThreads(1, look, &one);
        watch(L"stop");
        joinThreads(looking);
        ASSERT_EQ(1, one.seen);
    }
}

} // namespace
