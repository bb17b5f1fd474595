// The mutual exclusion of the system: a critical section that waits a bounded
// time for its own construction and records who holds it.
//
// The record serves whoever inspects the running process; nothing here reads it.
#pragma once

#include "platform/critical_section.h"

#include <atomic>
#include <cstdint>

struct TrackedLock {
    static constexpr std::int32_t guardInitialising = 48349;
    static constexpr std::int32_t guardReady = 48298;

    CriticalSection criticalSection;
    // guardInitialising during construction, guardReady ever after.
    std::atomic<std::int32_t> readyGuard;
    // 1 once the critical section was deleted.
    std::atomic<std::uint8_t> destroyed;
    // Acquisitions not yet released; the holder may nest them.
    std::int32_t depth;
    // The holder's tag and source line: null and 0 while nobody holds the lock.
    const wchar_t* holderName;
    std::int32_t holderLine;
    // The thread that acquired last, kept after its release. 0xFFFFFFFF: none yet.
    std::uint32_t holderThreadId;
    // 1 from construction on.
    std::uint8_t constructed;

    // Ready, free. The guard turns ready only after the critical section is.
    TrackedLock();
    // Nobody may hold the lock. Acquiring it afterwards is still answered.
    ~TrackedLock();
    TrackedLock(const TrackedLock&) = delete;
    TrackedLock& operator=(const TrackedLock&) = delete;

    // Returns once the guard is ready or the lock destroyed. A guard that does
    // not turn ready within 102 yields is set ready and the lock taken for
    // constructed: the wait bridges a short interval, it is no validity check.
    void waitReady();

    // Waits until the lock is ready and free, or held by this thread, then takes
    // it and records the holder. `name` has static lifetime.
    void acquire(const wchar_t* name, std::int32_t line);

    // Undoes one acquire of this thread; the last one clears the holder's tag
    // and line.
    void release();
};

// Holds a TrackedLock until the end of the scope.
class TrackedLockScope
{
public:
    TrackedLockScope(TrackedLock& lock, const wchar_t* name, std::int32_t line);
    ~TrackedLockScope();
    TrackedLockScope(const TrackedLockScope&) = delete;
    TrackedLockScope& operator=(const TrackedLockScope&) = delete;

private:
    TrackedLock& lock_;
};
