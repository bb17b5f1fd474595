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

// Wakes the stop watcher. Returns whether there was a semaphore to wake it by.
bool signalStop(const wchar_t* semaphoreName)
{
    if (!semaphoreName)
        return false;
    SemaphoreHandle semaphore = openNamedSemaphore(semaphoreName);
    if (!semaphore)
        return false;
    releaseSemaphore(semaphore);
    closeSemaphore(semaphore);
    return true;
}

// The thread that makes the workers has no more than its share of the processor. With
// hundreds at work it would need ten times as long for the rest of a thousand. So a
// worker gives up a turn for every 64 that began before it, at most 16.
void leaveTurnsToTheMaker()
{
    static std::atomic<std::uint32_t> workersBefore{0};
    constexpr std::uint32_t workersForATurn = 64;
    constexpr std::uint32_t mostTurns = 16;
    const std::uint32_t turns = std::min(workersBefore++ / workersForATurn, mostTurns);
    for (std::uint32_t i = 0; i < turns; ++i)
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
        // The copy is left to the process's end when no context can be had.
        BN_CTX* context = BN_CTX_new();
        if (!context)
            return -1;

        bool signalled = false;
        if (generatePrime(candidate, 0, mode, nullptr, nullptr, callback, context)) {
            signalled = signalStop(semaphoreName);
            traceNumberHex(candidate);
            setPrime(lock, candidate);
        }
        BN_CTX_free(context);
        BN_clear(candidate);
        BN_free(candidate);
        // A small prime is found faster than a thread wakes: without this a lone
        // worker would often publish a later window's prime over its first.
        if (signalled)
            waitBrieflyFor(stopFlag);
    }
    return 0;
}

std::uint32_t workerThreadProc(void* context)
{
    leaveTurnsToTheMaker();
    const auto* search = static_cast<const SearchContext*>(context);
    return static_cast<std::uint32_t>(searchWorker(*search->lock, search->callback,
                                                   search->semaphoreName, search->safe));
}
