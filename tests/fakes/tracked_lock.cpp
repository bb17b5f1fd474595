#include "tests/fakes/tracked_lock.h"

#include "search/tracked_lock.h"

#include <mutex>

std::vector<Acquisition> fakeAcquisitions;
std::function<void()> fakeAcquired = [] {
};
std::function<void()> fakeReleasing = [] {
};

namespace
{

std::recursive_mutex theOnlyLock;

} // namespace

TrackedLock::TrackedLock()
    : criticalSection()
    , readyGuard(guardReady)
    , destroyed(0)
    , depth(0)
    , holderName(nullptr)
    , holderLine(0)
    , holderThreadId(0)
    , constructed(1)
{
}

TrackedLock::~TrackedLock()
{
    destroyed = 1;
}

void TrackedLock::waitReady() {}

void TrackedLock::acquire(const wchar_t* name, std::int32_t line)
{
    theOnlyLock.lock();
    fakeAcquisitions.push_back({name, line});
    fakeAcquired();
}

void TrackedLock::release()
{
    fakeReleasing();
    theOnlyLock.unlock();
}

TrackedLockScope::TrackedLockScope(TrackedLock& lock, const wchar_t* name,
                                   std::int32_t line)
    : lock_(lock)
{
    lock_.acquire(name, line);
}

TrackedLockScope::~TrackedLockScope()
{
    lock_.release();
}
