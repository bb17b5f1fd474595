// A worker: takes window after window, searches each, publishes what it finds.
#pragma once

#include "search/search_state.h"

#include <cstdint>

// Searches windows until the stop flag that `callback` carries is set. For each
// prime found the semaphore `semaphoreName` (null: none) is released, then the
// prime is stored; whether the release succeeded does not matter.
// Returns 0 when the flag ended it, -1 when there was no memory for a window.
std::int32_t searchWorker(TrackedLock& lock, GenCallback* callback,
                          const wchar_t* semaphoreName, std::uint8_t safe);

// The thread procedure of a worker: searchWorker with the fields of the
// SearchContext that `context` points to, and its result.
std::uint32_t workerThreadProc(void* context);
