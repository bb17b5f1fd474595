// What the workers share: the point that the next window starts from, and the
// prime that was found.
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

// Where the next window starts, one window below what getNextBase hands out
// next. Under the search lock; left to the process's end.
extern BIGNUM* sharedBase;

// The distance between windows. Written by setBase, then only read.
extern std::uint64_t maxDelta;

// The prime published last, or null. Written under the search lock. The driver
// reads it without, after the wait for all threads, which for too many threads
// ends before they do: hence atomic.
extern std::atomic<BIGNUM*> resultPrime;

// Installs a search for a prime of `bits` bits above `base`, which it takes over,
// before any thread starts.
void setBase(TrackedLock& lock, BIGNUM* base, std::int32_t bits);

// Advances sharedBase by one window and returns a copy of it, the caller's to
// free, or null when memory is short. No two calls give the same number.
BIGNUM* getNextBase(TrackedLock& lock);

// Publishes a copy of `prime` as resultPrime, or null when it cannot be copied.
// What was published before is dropped, not freed: a reader may have it.
void setPrime(TrackedLock& lock, const BIGNUM* prime);
