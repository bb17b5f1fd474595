#include "search/stop_watcher.h"

#include "platform/named_semaphore.h"
#include "search/search_state.h"
#include "search/stop_flag.h"

OneWayFlag stopWatcherReady{0};

std::uint32_t stopWatcherThreadProc(void* context)
{
    const auto* search = static_cast<const SearchContext*>(context);
    SemaphoreHandle semaphore = nullptr;
    if (search->semaphoreName)
        // docs/fixed-behaviour.md: semaphore-as-it-is
        semaphore = createNamedSemaphore(search->semaphoreName, 0, 1);
    // Raised before the watcher counts as ready, since a search that nobody can stop must
    // not start. docs/fixed-behaviour.md: no-semaphore
    OneWayFlag& stopFlag = stopFlagOf(search->callback);
    if (!semaphore)
        stopFlag = 1;
    stopWatcherReady = 1;
    if (semaphore) {
        waitForSemaphore(semaphore);
        // Also when the wait failed.
        stopFlag = 1;
        closeSemaphore(semaphore);
    }
    return 0;
}
