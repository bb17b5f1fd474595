#include "search/tracked_lock.h"

#include "platform/thread.h"
#include "tests/fakes/critical_section.h"
#include "tests/fakes/yield.h"
#include "tests/platform/run_threads.h"

#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

namespace
{

constexpr std::int32_t initialising = 48349;
constexpr std::int32_t ready = 48298;
constexpr std::uint32_t noThread = 0xFFFFFFFF;

class TrackedLockTest : public testing::Test
{
public:
    TrackedLockTest(const TrackedLockTest&) = delete;
    TrackedLockTest& operator=(const TrackedLockTest&) = delete;

protected:
    TrackedLockTest()
    {
        fakeYield = [this] {
            ++yields;
        };
    }

    ~TrackedLockTest() override
    {
        const auto nothing = [] {
        };
        fakeYield = fakeInitialize = fakeEnter = fakeLeave = fakeDelete = nothing;
    }

    int yields = 0;
};

// A lock in memory that outlives it: its end can be looked at.
class OutlivedLock
{
public:
    OutlivedLock()
    {
        std::memset(memory_, 0x5A, sizeof memory_);
        new (memory_) TrackedLock;
    }

    TrackedLock& get()
    {
        return *std::launder(reinterpret_cast<TrackedLock*>(memory_));
    }

    void destroy()
    {
        get().~TrackedLock();
    }

private:
    alignas(TrackedLock) unsigned char memory_[sizeof(TrackedLock)];
};

TEST_F(TrackedLockTest, IsReadyAndFreeOnceConstructed)
{
    OutlivedLock outlived;
    const TrackedLock& lock = outlived.get();
    EXPECT_EQ(0, lock.depth);
    EXPECT_EQ(nullptr, lock.holderName);
    EXPECT_EQ(0, lock.holderLine);
    EXPECT_EQ(noThread, lock.holderThreadId);
    EXPECT_EQ(ready, lock.readyGuard);
    EXPECT_EQ(0, lock.destroyed);
    EXPECT_EQ(1, lock.constructed);
    outlived.destroy();
}

TEST_F(TrackedLockTest, TurnsReadyOnlyAfterItsCriticalSectionIs)
{
    alignas(TrackedLock) unsigned char memory[sizeof(TrackedLock)] = {};
    auto* lock = reinterpret_cast<TrackedLock*>(memory);
    std::int32_t guardMeanwhile = 0;
    fakeInitialize = [&] {
        guardMeanwhile = lock->readyGuard;
    };
    new (memory) TrackedLock;
    EXPECT_EQ(initialising, guardMeanwhile);
    EXPECT_EQ(ready, lock->readyGuard);
    lock->~TrackedLock();
}

TEST_F(TrackedLockTest, IsMarkedDestroyedOnlyAfterItsCriticalSectionIsDeleted)
{
    OutlivedLock lock;
    int destroyedMeanwhile = -1;
    fakeDelete = [&] {
        destroyedMeanwhile = lock.get().destroyed;
    };
    lock.destroy();
    EXPECT_EQ(0, destroyedMeanwhile);
    EXPECT_EQ(1, lock.get().destroyed);
}

TEST_F(TrackedLockTest, StaysReadyWhenDestroyed)
{
    OutlivedLock lock;
    lock.destroy();
    EXPECT_EQ(ready, lock.get().readyGuard);
}

TEST_F(TrackedLockTest, ShowsItsHolderWhileHeld)
{
    TrackedLock lock;
    lock.acquire(L"getNextBase", 221);
    EXPECT_EQ(1, lock.depth);
    EXPECT_STREQ(L"getNextBase", lock.holderName);
    EXPECT_EQ(221, lock.holderLine);
    EXPECT_EQ(currentThreadId(), lock.holderThreadId);
    lock.release();
}

TEST_F(TrackedLockTest, ForgetsTagAndLineButNotTheThreadWhenReleased)
{
    TrackedLock lock;
    lock.acquire(L"getNextBase", 221);
    lock.release();
    EXPECT_EQ(0, lock.depth);
    EXPECT_EQ(nullptr, lock.holderName);
    EXPECT_EQ(0, lock.holderLine);
    EXPECT_EQ(currentThreadId(), lock.holderThreadId);
}

TEST_F(TrackedLockTest, RecordsTheHolderOnlyOnceInside)
{
    TrackedLock lock;
    int depthOutside = -1;
    const wchar_t* nameOutside = L"none seen";
    fakeEnter = [&] {
        depthOutside = lock.depth;
        nameOutside = lock.holderName;
    };
    lock.acquire(L"setPrime", 207);
    EXPECT_EQ(0, depthOutside);
    EXPECT_EQ(nullptr, nameOutside);
    lock.release();
}

TEST_F(TrackedLockTest, ClearsTheHolderWhileStillInside)
{
    TrackedLock lock;
    lock.acquire(L"setPrime", 207);
    int depthInside = -1;
    const wchar_t* nameInside = L"none seen";
    fakeLeave = [&] {
        depthInside = lock.depth;
        nameInside = lock.holderName;
    };
    lock.release();
    EXPECT_EQ(0, depthInside);
    EXPECT_EQ(nullptr, nameInside);
}

TEST_F(TrackedLockTest, NamesTheInnerHolderUntilTheOuterReleases)
{
    TrackedLock lock;
    lock.acquire(L"setBase", 213);
    lock.acquire(L"setPrime", 207);
    EXPECT_EQ(2, lock.depth);

    lock.release();
    EXPECT_EQ(1, lock.depth);
    EXPECT_STREQ(L"setPrime", lock.holderName);
    EXPECT_EQ(207, lock.holderLine);

    lock.release();
    EXPECT_EQ(0, lock.depth);
    EXPECT_EQ(nullptr, lock.holderName);
    EXPECT_EQ(0, lock.holderLine);
}

TEST_F(TrackedLockTest, IsEnteredWithoutAYieldWhenReady)
{
    TrackedLock lock;
    lock.acquire(L"setBase", 213);
    lock.release();
    EXPECT_EQ(0, yields);
}

TEST_F(TrackedLockTest, ForcesAGuardThatStaysUnreadyAfter102Yields)
{
    TrackedLock lock;
    lock.readyGuard = initialising;
    lock.acquire(L"getNextBase", 221);
    EXPECT_EQ(102, yields);
    EXPECT_EQ(ready, lock.readyGuard);
    EXPECT_EQ(1, lock.depth);
    lock.release();
}

TEST_F(TrackedLockTest, DoesNotForceTheGuardBeforeThe102ndYield)
{
    TrackedLock lock;
    lock.readyGuard = initialising;
    std::int32_t guardAtLastYield = 0;
    fakeYield = [&] {
        guardAtLastYield = lock.readyGuard;
    };
    lock.waitReady();
    EXPECT_EQ(initialising, guardAtLastYield);
}

TEST_F(TrackedLockTest, StopsWaitingWhenTheGuardTurnsReady)
{
    TrackedLock lock;
    lock.readyGuard = initialising;
    fakeYield = [&] {
        if (++yields == 5)
            lock.readyGuard = ready;
    };
    lock.acquire(L"getNextBase", 221);
    EXPECT_EQ(5, yields);
    lock.release();
}

TEST_F(TrackedLockTest, YieldsOnceInEachWaitWhenDestroyedAndUnready)
{
    OutlivedLock outlived;
    outlived.destroy();
    TrackedLock& lock = outlived.get();
    lock.readyGuard = initialising;
    lock.acquire(L"callBack2", 85);
    EXPECT_EQ(2, yields);
    EXPECT_EQ(initialising, lock.readyGuard);
    EXPECT_EQ(1, lock.depth);
    lock.release();
}

TEST_F(TrackedLockTest, StopsWaitingWhenDestroyedMeanwhile)
{
    TrackedLock lock;
    lock.readyGuard = initialising;
    fakeYield = [&] {
        if (++yields == 7)
            lock.destroyed = 1;
    };
    lock.waitReady();
    EXPECT_EQ(7, yields);
    EXPECT_EQ(initialising, lock.readyGuard);
}

TEST_F(TrackedLockTest, IsEnteredWithoutAYieldWhenDestroyedButReady)
{
    OutlivedLock outlived;
    outlived.destroy();
    TrackedLock& lock = outlived.get();
    lock.acquire(L"callBack2", 85);
    EXPECT_EQ(0, yields);
    EXPECT_EQ(1, lock.depth);
    lock.release();
}

TEST_F(TrackedLockTest, WaitsOutsideOfItsCriticalSection)
{
    TrackedLock lock;
    lock.readyGuard = initialising;
    int yieldsOutside = -1;
    fakeEnter = [&] {
        yieldsOutside = yields;
    };
    lock.acquire(L"getNextBase", 221);
    EXPECT_EQ(102, yieldsOutside);
    lock.release();
}

struct Shared {
    static constexpr int rounds = 20000;
    TrackedLock lock;
    int counter = 0;
};

std::uint32_t countUnderTheLock(void* argument)
{
    auto* shared = static_cast<Shared*>(argument);
    for (int i = 0; i < Shared::rounds; ++i) {
        const TrackedLockScope scope(shared->lock, L"setPrime", 207);
        ++shared->counter;
    }
    return 0;
}

TEST_F(TrackedLockTest, LetsOneThreadInAtATime)
{
    Shared shared;
    runThreads(4, countUnderTheLock, &shared);
    EXPECT_EQ(4 * Shared::rounds, shared.counter);
    EXPECT_EQ(0, shared.lock.depth);
}

TEST_F(TrackedLockTest, IsHeldForTheLengthOfAScope)
{
    TrackedLock lock;
    {
        const TrackedLockScope scope(lock, L"setBase", 213);
        EXPECT_STREQ(L"setBase", lock.holderName);
        EXPECT_EQ(213, lock.holderLine);
    }
    EXPECT_EQ(0, lock.depth);
}

TEST_F(TrackedLockTest, IsReleasedByAnExceptionThatLeavesAScope)
{
    TrackedLock lock;
    const auto fail = [&lock] {
        const TrackedLockScope scope(lock, L"setBase", 213);
        throw std::runtime_error("out of the scope");
    };
    EXPECT_THROW(fail(), std::runtime_error);
    EXPECT_EQ(0, lock.depth);
    EXPECT_EQ(nullptr, lock.holderName);
}

} // namespace
