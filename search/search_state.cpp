#include "search/search_state.h"

#include "prime/base_bits.h"
#include "prime/small_primes.h"

BIGNUM* sharedBase = nullptr;
std::uint64_t maxDelta = 0;
std::atomic<BIGNUM*> resultPrime{nullptr};

void setBase(TrackedLock& lock, BIGNUM* base, std::int32_t bits)
{
    // docs/fixed-behaviour.md: holder-lines
    const TrackedLockScope scope(lock, L"setBase", 213);
    baseBits = bits;
    sharedBase = base;
    maxDelta = maxDeltaFor(bits);
}

BIGNUM* getNextBase(TrackedLock& lock)
{
    const TrackedLockScope scope(lock, L"getNextBase", 221);
    // Advance before copying: the window at the base itself is never searched.
    // docs/fixed-behaviour.md: advance-first, unchecked-advance
    BN_add_word(sharedBase, maxDelta);
    return BN_dup(sharedBase);
}

void setPrime(TrackedLock& lock, const BIGNUM* prime)
{
    const TrackedLockScope scope(lock, L"setPrime", 207);
    // docs/fixed-behaviour.md: last-prime
    resultPrime = BN_dup(prime);
}
