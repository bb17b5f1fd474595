#include "search/search_worker.h"

#include "platform/named_semaphore.h"
#include "platform/yield.h"
#include "prime/prime_generation.h"
#include "search/stop_flag.h"
#include "search/trace_number.h"

#include <algorithm>
#include <atomic>

namespace
{

// Wakes the stop watcher. Returns whether there was a semaphore to wake it with.
bool signalStop(const wchar_t* semaphoreName)
{
    if (!semaphoreName)
        return false;
    SemaphoreHandle semaphore = openNamedSemaphore(semaphoreName);
    if (!semaphore)
        return false;
    releaseSemaphore(semaphore); // docs/fixed-behaviour.md: unchecked-release
    closeSemaphore(semaphore);
    return true;
}

// The thread that makes the workers gets one share of the processor, like each of them.
// With hundreds of workers running it would need ten times as long to make the rest of a
// thousand. So a worker yields once for every 64 that began before it, at most 16 times.
void yieldToTheMaker()
{
    static std::atomic<std::uint32_t> workersBefore{0};
    constexpr std::uint32_t workersForAYield = 64;
    constexpr std::uint32_t mostYields = 16;
    const std::uint32_t yields = std::min(workersBefore++ / workersForAYield, mostYields);
    for (std::uint32_t i = 0; i < yields; ++i)
        yieldThread();
}

} // namespace

std::int32_t searchWorker(TrackedLock& lock, GenCallback* callback,
                          const wchar_t* semaphoreName, std::uint8_t safe)
{
    const OneWayFlag& stopFlag = stopFlagOf(callback);
    const int mode = modeFromBase + safe;
    while (stopFlag == 0) {
        BIGNUM* candidate = getNextBase(lock);
        if (!candidate)
            return -1;
        // Without a context the copy is never freed. docs/fixed-behaviour.md: window-left
        BN_CTX* context = BN_CTX_new();
        if (!context)
            return -1;

        bool signalled = false;
        if (generatePrime(candidate, 0, mode, nullptr, nullptr, callback, context)) {
            // docs/fixed-behaviour.md: release-first, discarded-trace
            signalled = signalStop(semaphoreName);
            traceNumberHex(candidate);
            setPrime(lock, candidate);
        }
        BN_CTX_free(context);
        BN_clear(candidate);
        BN_free(candidate);
        // A small prime is found in less time than a thread needs to wake: without this a
        // lone worker would often publish a later window's prime over its first.
        if (signalled)
            waitBrieflyFor(stopFlag);
    }
    return 0;
}

std::uint32_t workerThreadProc(void* context)
{
    yieldToTheMaker();
    const auto* search = static_cast<const SearchContext*>(context);
    return static_cast<std::uint32_t>(searchWorker(*search->lock, search->callback,
                                                   search->semaphoreName, search->safe));
}
