#include "tests/support/shared_state.h"

#include "prime/base_bits.h"
#include "prime/shortcuts.h"
#include "search/search_state.h"
#include "search/settings.h"
#include "search/stop_watcher.h"

void resetSharedState()
{
    BN_free(sharedBase);
    sharedBase = nullptr;
    BN_free(resultPrime.exchange(nullptr));
    maxDelta = 0;
    baseBits = 0;
    stopWatcherReady = 0;
    noPrompt = 0;
    outPrompt = nullptr;
    eventsUnwatched = false;
}
