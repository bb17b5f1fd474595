// A flag that one thread raises once for all others, and a short wait for it.
#pragma once

#include <atomic>
#include <cstdint>

// 0, and 1 once it was raised. Never goes back.
using OneWayFlag = std::atomic<std::uint8_t>;

// Returns once `flag` is raised, or after about half a second, whichever comes first. For
// a caller that has just done what makes another thread raise the flag: gives that thread
// time to do so. The wait is never longer, so the caller checks the flag itself where it
// matters.
void waitBrieflyFor(const OneWayFlag& flag);
