#include "search/tracked_lock.h"

#include "platform/thread.h"
#include "platform/yield.h"

namespace
{

constexpr std::uint32_t noThread = 0xFFFFFFFF;
constexpr int mostReadyChecks = 100;

} // namespace

TrackedLock::TrackedLock()
    : readyGuard(guardInitialising)
    , destroyed(0)
    , depth(0)
    , holderName(nullptr)
    , holderLine(0)
    , holderThreadId(noThread)
    , constructed(1)
{
    initializeCriticalSection(criticalSection);
    readyGuard = guardReady;
    depth = 0;
}

TrackedLock::~TrackedLock()
{
    deleteCriticalSection(criticalSection);
    destroyed = 1;
}

void TrackedLock::waitReady()
{
    if (readyGuard == guardReady)
        return;
    yieldThread();
    for (int counter = 0; destroyed == 0; ++counter) {
        if (readyGuard == guardReady)
            return;
        // docs/fixed-behaviour.md: forced-guard
        if (counter > mostReadyChecks) {
            readyGuard = guardReady;
            return;
        }
        yieldThread();
    }
}

void TrackedLock::acquire(const wchar_t* name, std::int32_t line)
{
    waitReady();
    // The second wait matters only for a lock that is destroyed and whose guard is not
    // ready: it yields once more, and the lock is then entered.
    // docs/fixed-behaviour.md: two-waits
    waitReady();
    enterCriticalSection(criticalSection);
    ++depth;
    holderName = name;
    holderLine = line;
    holderThreadId = currentThreadId();
}

void TrackedLock::release()
{
    --depth;
    // The thread stays. docs/fixed-behaviour.md: holder-record
    if (depth < 1) {
        holderName = nullptr;
        holderLine = 0;
    }
    leaveCriticalSection(criticalSection);
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
