#include "search/search_worker.h"

#include "platform/thread.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/fakes/named_semaphore.h"
#include "tests/fakes/prime_generation.h"
#include "tests/fakes/trace_number.h"
#include "tests/fakes/yield.h"
#include "tests/platform/run_threads.h"
#include "tests/search/search_fixture.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace
{

class SearchWorker : public SearchFixture
{
protected:
    SearchWorker()
    {
        fakeSemaphore = {};
        maxDelta = distance;
        fakeGeneratePrime = [this](auto...) {
            stopFlag = 1;
            return 0;
        };
    }

    std::int32_t work(const wchar_t* semaphoreName = nullptr, std::uint8_t safe = 0)
    {
        return searchWorker(lock, callback.get(), semaphoreName, safe);
    }

    // The search finds `prime` in every window; the stop comes with the release.
    void findAndStopByRelease(const char* prime)
    {
        fakeGeneratePrime = [prime](BIGNUM* candidate, auto...) {
            BN_copy(candidate, fromHex(prime).get());
            return 1;
        };
        fakeSemaphore.onRelease = [this] {
            stopFlag = 1;
        };
    }

    using Calls = std::vector<std::string>;

    static constexpr std::uint64_t distance = 0x1000; // of windows
};

TEST_F(SearchWorker, TakesNoWindowWhenTheFlagIsSetAlready)
{
    stopFlag = 1;
    bool searched = false;
    fakeGeneratePrime = [&](auto...) {
        searched = true;
        return 0;
    };
    EXPECT_EQ(0, work());
    EXPECT_FALSE(searched);
    EXPECT_EQ("10000000000000000", toHex(sharedBase));
}

TEST_F(SearchWorker, StartsOneWindowAboveTheBaseAndGoesOnWindowByWindow)
{
    std::vector<std::string> starts;
    fakeGeneratePrime = [&](const BIGNUM* candidate, auto...) {
        starts.push_back(toHex(candidate));
        if (starts.size() == 3)
            stopFlag = 1;
        return 0;
    };
    EXPECT_EQ(0, work());
    EXPECT_EQ((std::vector<std::string>{"10000000000001000", "10000000000002000",
                                        "10000000000003000"}),
              starts);
}

TEST_F(SearchWorker, SearchesFromTheBaseForAnyPrimeOrForASafeOne)
{
    int modeSeen = 0;
    fakeGeneratePrime = [&](BIGNUM*, int mode, auto...) {
        modeSeen = mode;
        stopFlag = 1;
        return 0;
    };
    work(nullptr, 0);
    EXPECT_EQ(2, modeSeen);
    stopFlag = 0;
    work(nullptr, 1);
    EXPECT_EQ(3, modeSeen);
}

TEST_F(SearchWorker, HandsAFreshContextToEachSearch)
{
    int windows = 0;
    fakeGeneratePrime = [&](BIGNUM*, int, GenCallback*, BN_CTX* context) {
        // Only a context that was never used allocates for its first number.
        failCryptoAllocation(-1);
        const ContextFrame frame(context);
        EXPECT_NE(nullptr, BN_CTX_get(context));
        EXPECT_LT(0, cryptoAllocations());
        if (++windows == 3)
            stopFlag = 1;
        return 0;
    };
    work();
    EXPECT_EQ(3, windows);
}

TEST_F(SearchWorker, KeepsTakingWindowsWhileNoneHoldsAPrime)
{
    int windows = 0;
    fakeGeneratePrime = [&](auto...) {
        if (++windows == 5000)
            stopFlag = 1;
        return 0;
    };
    EXPECT_EQ(0, work(L"stop"));
    EXPECT_EQ(5000, windows);
    EXPECT_EQ(nullptr, resultPrime.load());
    EXPECT_EQ(Calls{}, fakeSemaphore.calls);
}

TEST_F(SearchWorker, HoldsNoLockWhileItSearches)
{
    int depth = -1;
    fakeGeneratePrime = [&](auto...) {
        depth = lock.depth;
        stopFlag = 1;
        return 0;
    };
    work();
    EXPECT_EQ(0, depth);
}

TEST_F(SearchWorker, HoldsNoLockWhileItReleasesTheSemaphore)
{
    findAndStopByRelease("65");
    int depth = -1;
    fakeSemaphore.onRelease = [&] {
        depth = lock.depth;
        stopFlag = 1;
    };
    work(L"stop");
    EXPECT_EQ(0, depth);
}

TEST_F(SearchWorker, PublishesWhatTheSearchMadeOfItsCopy)
{
    findAndStopByRelease("FFFFFFFFFFFFFFC5");
    EXPECT_EQ(0, work(L"stop"));
    EXPECT_EQ("FFFFFFFFFFFFFFC5", toHex(resultPrime));
}

TEST_F(SearchWorker, OpensReleasesAndClosesTheSemaphoreOfAFoundPrime)
{
    findAndStopByRelease("65");
    work(L"stop");
    EXPECT_EQ((Calls{"open stop", "release", "close"}), fakeSemaphore.calls);
}

TEST_F(SearchWorker, ReleasesTheSemaphoreBeforeItStoresTheResult)
{
    findAndStopByRelease("65");
    bool storedAtRelease = true;
    bool storedAtClose = true;
    fakeSemaphore.onRelease = [&] {
        storedAtRelease = resultPrime != nullptr;
        stopFlag = 1;
    };
    fakeSemaphore.onClose = [&] {
        storedAtClose = resultPrime != nullptr;
    };
    work(L"stop");
    EXPECT_FALSE(storedAtRelease);
    EXPECT_FALSE(storedAtClose);
    EXPECT_NE(nullptr, resultPrime.load());
}

TEST_F(SearchWorker, TracesThePrimeBetweenTheReleaseAndTheResult)
{
    std::string traced;
    bool stored = true;
    std::size_t callsBefore = 0;
    fakeTraceNumber = [&](const BIGNUM* number) {
        traced = toHex(number);
        stored = resultPrime != nullptr;
        callsBefore = fakeSemaphore.calls.size();
    };
    findAndStopByRelease("65");
    work(L"stop");
    fakeTraceNumber = [](const BIGNUM*) {
    };
    EXPECT_EQ("65", traced);
    EXPECT_FALSE(stored);
    EXPECT_EQ(fakeSemaphore.calls.size(), callsBefore);
}

TEST_F(SearchWorker, StoresThePrimeAlthoughTheReleaseFails)
{
    findAndStopByRelease("65");
    fakeSemaphore.canRelease = false;
    EXPECT_EQ(0, work(L"stop"));
    EXPECT_EQ("65", toHex(resultPrime));
    EXPECT_EQ((Calls{"open stop", "release", "close"}), fakeSemaphore.calls);
}

TEST_F(SearchWorker, StoresThePrimeAndGoesOnWhenThereIsNoSemaphore)
{
    fakeSemaphore.exists = false;
    int windows = 0;
    fakeGeneratePrime = [&](BIGNUM* candidate, auto...) {
        if (++windows == 2) {
            stopFlag = 1;
            return 0;
        }
        return BN_set_word(candidate, 101);
    };
    EXPECT_EQ(0, work(L"stop"));
    EXPECT_EQ(2, windows);
    EXPECT_EQ("65", toHex(resultPrime));
    EXPECT_EQ(Calls{"open stop"}, fakeSemaphore.calls);
}

TEST_F(SearchWorker, NeverAsksForASemaphoreWithoutAName)
{
    int windows = 0;
    std::vector<std::string> published;
    fakeGeneratePrime = [&](BIGNUM* candidate, auto...) {
        if (const BigNumber last = takeResult())
            published.push_back(toHex(last.get()));
        if (++windows == 4)
            stopFlag = 1;
        return BN_set_word(candidate, static_cast<BN_ULONG>(windows));
    };
    EXPECT_EQ(0, work(nullptr));
    EXPECT_EQ((std::vector<std::string>{"1", "2", "3"}), published);
    EXPECT_EQ("4", toHex(resultPrime));
    EXPECT_EQ(Calls{}, fakeSemaphore.calls);
}

TEST_F(SearchWorker, GivesTheStopWatcherTurnsBeforeItTakesAnotherWindow)
{
    int windows = 0;
    fakeGeneratePrime = [&](BIGNUM* candidate, auto...) {
        // So that it ends without any turn, too.
        if (++windows == 2)
            stopFlag = 1;
        return BN_set_word(candidate, 101);
    };
    int turns = 0;
    fakeYield = [&] {
        if (++turns == 3)
            stopFlag = 1;
    };
    EXPECT_EQ(0, work(L"stop"));
    fakeYield = [] {
    };
    EXPECT_EQ(1, windows);
    EXPECT_EQ(3, turns);
}

TEST_F(SearchWorker, GoesOnAfterAPrimeUntilTheFlagIsSet)
{
    int windows = 0;
    BigNumber first;
    fakeGeneratePrime = [&](BIGNUM* candidate, auto...) {
        if (++windows == 2) {
            first = takeResult();
            stopFlag = 1;
        }
        return BN_set_word(candidate, windows == 1 ? 101 : 103);
    };
    EXPECT_EQ(0, work(L"stop"));
    EXPECT_EQ("65", toHex(first.get()));
    EXPECT_EQ("67", toHex(resultPrime));
    EXPECT_EQ((Calls{"open stop", "release", "close", "open stop", "release", "close"}),
              fakeSemaphore.calls);
}

TEST_F(SearchWorker, PublishesAPrimeThatWasFoundDespiteTheStop)
{
    fakeGeneratePrime = [&](BIGNUM* candidate, auto...) {
        stopFlag = 1;
        return BN_set_word(candidate, 101);
    };
    EXPECT_EQ(0, work(L"stop"));
    EXPECT_EQ("65", toHex(resultPrime));
}

TEST_F(SearchWorker, LeavesTheSharedBaseAsItIsWhenItPublishes)
{
    findAndStopByRelease("65");
    work(L"stop");
    EXPECT_EQ("10000000000001000", toHex(sharedBase));
}

TEST_F(SearchWorker, LeavesTheCopyOfTheBaseWhenItGetsNoContext)
{
    const auto blocksLeft = [this] {
        const int before = cryptoBlocks();
        failCryptoAllocation(2);
        EXPECT_EQ(-1, work());
        failCryptoAllocation(-1);
        return cryptoBlocks() - before;
    };
    blocksLeft(); // with what the library keeps after its first error
    // The copy's record and its words.
    EXPECT_EQ(2, blocksLeft());
}

class SearchWorkerShortOfMemory : public SearchWorker,
                                  public testing::WithParamInterface<int>
{
protected:
    ~SearchWorkerShortOfMemory() override
    {
        failCryptoAllocation(-1);
    }
};

TEST_P(SearchWorkerShortOfMemory, EndsWithMinusOne)
{
    bool searched = false;
    fakeGeneratePrime = [&](auto...) {
        searched = true;
        stopFlag = 1;
        return 0;
    };
    failCryptoAllocation(GetParam());
    EXPECT_EQ(-1, work());
    EXPECT_FALSE(searched);
}

TEST_P(SearchWorkerShortOfMemory, GivesTheThreadMinusOneAsItsExitCode)
{
    SearchContext context{&lock, callback.get(), nullptr, 0};
    failCryptoAllocation(GetParam());
    EXPECT_EQ(0xFFFFFFFFU, workerThreadProc(&context));
}

// The copy's record, its words and the context are allocated in turn.
INSTANTIATE_TEST_SUITE_P(ForTheCopyAndForTheContext, SearchWorkerShortOfMemory,
                         testing::Values(0, 1, 2));

TEST_F(SearchWorker, GivesTheThreadZeroAsItsExitCodeAfterTheStop)
{
    SearchContext context{&lock, callback.get(), nullptr, 0};
    EXPECT_EQ(0U, workerThreadProc(&context));
}

TEST_F(SearchWorker, WorksWithTheFieldsOfItsContext)
{
    SearchContext context{&lock, callback.get(), L"stop", 1};
    const GenCallback* callbackSeen = nullptr;
    int modeSeen = 0;
    fakeGeneratePrime = [&](BIGNUM*, int mode, const GenCallback* given, BN_CTX*) {
        callbackSeen = given;
        modeSeen = mode;
        stopFlag = 1;
        return 1;
    };
    workerThreadProc(&context);
    EXPECT_EQ(callback.get(), callbackSeen);
    EXPECT_EQ(3, modeSeen);
    EXPECT_EQ((Calls{"open stop", "release", "close"}), fakeSemaphore.calls);
    EXPECT_EQ(currentThreadId(), lock.holderThreadId);
}

TEST_F(SearchWorker, SharesTheWindowsWithOthersSoThatEachIsTakenOnce)
{
    constexpr std::size_t windows = 2000;
    std::mutex mutex;
    std::set<std::string> starts;
    std::size_t taken = 0;
    fakeGeneratePrime = [&](const BIGNUM* candidate, auto...) {
        const std::scoped_lock guard(mutex);
        starts.insert(toHex(candidate));
        if (++taken == windows)
            stopFlag = 1;
        return 0;
    };
    SearchContext context{&lock, callback.get(), nullptr, 0};
    runThreads(4, workerThreadProc, &context);

    ASSERT_LE(windows, taken);
    // No start twice, and none left out: as many as windows lie between the base
    // and where it stands now.
    EXPECT_EQ(taken, starts.size());
    BigNumber expected = fromHex("1'0000'0000'0000'0000");
    for (std::size_t i = 0; i < taken; ++i) {
        BN_add_word(expected.get(), distance);
        EXPECT_TRUE(starts.contains(toHex(expected.get())));
    }
    EXPECT_EQ(toHex(expected.get()), toHex(sharedBase));
}

} // namespace
