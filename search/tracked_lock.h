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
    // guardInitialising during construction, guardReady from then on.
    std::atomic<std::int32_t> readyGuard;
    // 1 once the critical section has been deleted.
    std::atomic<std::uint8_t> destroyed;
    // Acquisitions not yet released; the holder may nest them.
    std::int32_t depth;
    // The holder's tag and source line: null and 0 while nobody holds the lock.
    const wchar_t* holderName;
    std::int32_t holderLine;
    // The thread that acquired last, kept after its release. 0xFFFFFFFF: none yet.
    std::uint32_t holderThreadId;
    // 1 from construction on. docs/fixed-behaviour.md: holder-record
    std::uint8_t constructed;

    // Ready and free. The guard turns ready only after the critical section is.
    TrackedLock();
    // Nobody may hold the lock. A late thread may still acquire it afterwards.
    ~TrackedLock();
    TrackedLock(const TrackedLock&) = delete;
    TrackedLock& operator=(const TrackedLock&) = delete;

    // Returns once the guard is ready or the lock is destroyed. If the guard is not ready
    // after 102 yields, it is set to ready all the same: the wait bridges the short time
    // of construction, and is no check that the lock is valid.
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
