// What the workers share: how far the windows have been handed out, and the prime that
// was found.
#pragma once

#include "prime/big_number.h"
#include "search/tracked_lock.h"

#include <atomic>
#include <cstdint>

// The record handed to every thread. The driver owns it and all that it points
// to, and keeps them until every thread, or the process, has ended.
struct SearchContext {
    TrackedLock* lock;
    GenCallback* callback;
    const wchar_t* semaphoreName; // may be null
    std::uint8_t safe;            // 1: a safe prime is wanted
};

// The start of the window handed out last; before the first, the base. Guarded by the
// search lock. Never freed: it lives as long as the process.
extern BIGNUM* sharedBase;

// The distance between windows. Written by setBase, then only read.
extern std::uint64_t maxDelta;

// The prime published last, or null. Written under the search lock. The driver reads it
// without the lock, after its wait for all threads. With too many threads that wait ends
// before they do, so it is atomic.
extern std::atomic<BIGNUM*> resultPrime;

// Installs a search for a prime of `bits` bits above `base`, which it takes over,
// before any thread starts.
void setBase(TrackedLock& lock, BIGNUM* base, std::int32_t bits);

// Advances sharedBase by one window and returns a copy of it, the caller's to free, or
// null when memory is short. No two calls return the same number, unless memory was too
// short to advance.
BIGNUM* getNextBase(TrackedLock& lock);

// Publishes a copy of `prime` as resultPrime, or null when it cannot be copied.
// What was published before is dropped, not freed: a reader may still use it.
void setPrime(TrackedLock& lock, const BIGNUM* prime);
