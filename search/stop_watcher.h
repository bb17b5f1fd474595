// The stop watcher: turns a release of the named semaphore into the stop flag.
#pragma once

#include "search/one_way_flag.h"

#include <cstdint>

// Raised once the watcher of this process has its semaphore, or knows that it gets none.
// A prime found earlier could not stop the search.
extern OneWayFlag stopWatcherReady;

// The thread procedure of the watcher; `context` points to the SearchContext.
// Creates the semaphore that the SearchContext names, with count 0 of at most 1, or opens
// the one that exists as it is. Waits on it, then raises the stop flag. Without a name,
// or when it gets no semaphore, it raises the flag at once. Returns 0.
std::uint32_t stopWatcherThreadProc(void* context);
