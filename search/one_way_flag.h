// A flag that one thread raises once for all others, and a short wait for it.
#pragma once

#include <atomic>
#include <cstdint>

// 0, and 1 once it was raised. Never goes back.
using OneWayFlag = std::atomic<std::uint8_t>;

// Returns once `flag` is raised, or after about half a second, whichever comes first.
// For a thread that has just done what makes another thread raise it, and that would
// go on before the other could. Nobody waits for good: the caller looks at the flag
// when it matters whether it was raised.
void waitBrieflyFor(const OneWayFlag& flag);
