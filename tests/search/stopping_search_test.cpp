// Workers, watcher, callback and the system's own semaphore together: what stops
// a search, and what it leaves.
#include "platform/named_semaphore.h"
#include "prime/events.h"
#include "search/search_worker.h"
#include "search/stop_watcher.h"
#include "tests/fakes/prime_generation.h"
#include "tests/platform/run_threads.h"
#include "tests/search/search_fixture.h"
#include "tests/support/foreign_semaphore.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

class StoppingSearch : public SearchFixture
{
protected:
    static constexpr int workers = 3;

    StoppingSearch()
    {
        fakeGeneratePrime = [this](BIGNUM*, int, GenCallback* given, BN_CTX*) {
            return searchInVain(given);
        };
    }

    ~StoppingSearch() override
    {
        removeForeign(name);
    }

    // A search of one window that ends when an event is refused.
    int searchInVain(GenCallback* given)
    {
        ++searching;
        for (int number = 0; BN_GENCB_call(given, candidateEvent, number); ++number)
            pauseThread(1);
        return 0;
    }

    // Returns once the semaphore is there, so that a release finds it.
    void startWatcher()
    {
        threads.push_back(createThread(stopWatcherThreadProc, &context));
        while (stopWatcherReady == 0)
            pauseThread(1);
    }

    void startWorkers()
    {
        for (int i = 0; i < workers; ++i)
            threads.push_back(createThread(workerThreadProc, &context));
    }

    void waitUntilAllSearch() const
    {
        while (searching < workers)
            pauseThread(1);
    }

    void waitForEnd()
    {
        joinThreads(threads);
        threads.clear();
    }

    std::atomic<int> searching{0};
    std::wstring name = uniqueSemaphoreName(L"search");
    SearchContext context{&lock, callback.get(), name.c_str(), 0};
    std::vector<ThreadHandle> threads;
};

TEST_F(StoppingSearch, EndsWithoutAResultWhenAForeignProgramReleasesTheSemaphore)
{
    startWatcher();
    startWorkers();
    waitUntilAllSearch();
    EXPECT_EQ(0, stopFlag);
    ASSERT_TRUE(postForeign(name));
    waitForEnd();
    EXPECT_EQ(1, stopFlag);
    EXPECT_EQ(nullptr, resultPrime.load());
}

TEST_F(StoppingSearch, KeepsAResultThatAWorkerPublishedBeforeTheForeignRelease)
{
    std::atomic<bool> found{false};
    fakeGeneratePrime = [&](BIGNUM* candidate, int, GenCallback* given, BN_CTX*) {
        return found.exchange(true) ? searchInVain(given) : BN_set_word(candidate, 101);
    };
    startWorkers();
    waitUntilAllSearch();
    startWatcher();
    ASSERT_TRUE(postForeign(name));
    waitForEnd();
    EXPECT_EQ("65", toHex(resultPrime));
}

TEST_F(StoppingSearch, EndsForAllWorkersWithTheFirstPrime)
{
    std::atomic<bool> found{false};
    fakeGeneratePrime = [&](BIGNUM* candidate, int, GenCallback* given, BN_CTX*) {
        // The others are well inside their windows when the prime is found.
        if (found.exchange(true))
            return searchInVain(given);
        while (searching < workers - 1)
            pauseThread(1);
        return BN_set_word(candidate, 101);
    };
    startWatcher();
    startWorkers();
    waitForEnd();
    EXPECT_EQ(1, stopFlag);
    EXPECT_EQ("65", toHex(resultPrime));
}

TEST_F(StoppingSearch, LeavesNoSemaphoreBehind)
{
    startWatcher();
    startWorkers();
    waitUntilAllSearch();
    EXPECT_TRUE(existsForeign(name));
    ASSERT_TRUE(postForeign(name));
    waitForEnd();
    EXPECT_FALSE(existsForeign(name));
}

TEST_F(StoppingSearch, EndsAtOnceWhenTheSemaphoreHasACountAlready)
{
    ASSERT_TRUE(createForeign(name, 1));
    startWatcher();
    startWorkers();
    waitForEnd();
    EXPECT_EQ(1, stopFlag);
    EXPECT_EQ(nullptr, resultPrime.load());
}

TEST_F(StoppingSearch, TakesOneOfTheCountsThatAForeignSemaphoreHas)
{
    ASSERT_TRUE(createForeign(name, 3));
    EXPECT_EQ(0U, stopWatcherThreadProc(&context));
    EXPECT_EQ(2, countForeign(name));
}

TEST_F(StoppingSearch, WaitsOnAForeignSemaphoreAsItIs)
{
    ASSERT_TRUE(createForeign(name, 0));
    startWatcher();
    startWorkers();
    waitUntilAllSearch();
    EXPECT_EQ(0, stopFlag);
    ASSERT_TRUE(postForeign(name));
    waitForEnd();
    EXPECT_EQ(0, countForeign(name));
}

TEST_F(StoppingSearch, EndsAtOnceAfterALateReleaseThatAnotherHolderKept)
{
    SemaphoreHandle keeper = createNamedSemaphore(name.c_str(), 0, 1);
    ASSERT_NE(nullptr, keeper);
    startWatcher();
    ASSERT_TRUE(postForeign(name));
    waitForEnd();
    // The release of a second prime, after the watcher took the first one.
    ASSERT_TRUE(releaseSemaphore(keeper));

    stopFlag = 0;
    EXPECT_EQ(0U, stopWatcherThreadProc(&context));
    EXPECT_EQ(1, stopFlag);
    closeSemaphore(keeper);
}

TEST_F(StoppingSearch, StartsAfreshAfterALateReleaseThatNobodyKept)
{
    SemaphoreHandle keeper = createNamedSemaphore(name.c_str(), 0, 1);
    ASSERT_NE(nullptr, keeper);
    ASSERT_TRUE(releaseSemaphore(keeper));
    closeSemaphore(keeper);

    startWatcher();
    EXPECT_EQ(0, countForeign(name));
    ASSERT_TRUE(postForeign(name));
    waitForEnd();
}

TEST_F(StoppingSearch, EndsAtOnceWithANameThatCannotBeASemaphores)
{
    context.semaphoreName = L"no/such\\name";
    startWatcher();
    startWorkers();
    waitForEnd();
    EXPECT_EQ(1, stopFlag);
    EXPECT_EQ(nullptr, resultPrime.load());
}

TEST_F(StoppingSearch, EndsAtOnceWithoutAName)
{
    context.semaphoreName = nullptr;
    startWatcher();
    startWorkers();
    waitForEnd();
    EXPECT_EQ(1, stopFlag);
}

TEST_F(StoppingSearch, GoesOnPastAPrimeFoundBeforeTheWatcherCreatedTheSemaphore)
{
    std::atomic<int> found{0};
    BigNumber early;
    fakeGeneratePrime = [&](BIGNUM* candidate, int, GenCallback* given, BN_CTX*) {
        // The first prime can signal nobody; the second one ends the search.
        switch (++found) {
        case 1:
            return BN_set_word(candidate, 101);
        case 2:
            early = takeResult();
            startWatcher();
            return BN_set_word(candidate, 103);
        default:
            return searchInVain(given);
        }
    };
    ASSERT_EQ(0U, workerThreadProc(&context));
    waitForEnd();
    EXPECT_LE(2, found);
    EXPECT_EQ("65", toHex(early.get()));
    EXPECT_EQ("67", toHex(resultPrime));
}

} // namespace
