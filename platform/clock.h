// The two clocks that the random source mixes and the driver times a run with.
#pragma once

#include <cstdint>

// Seconds since 1970-01-01 00:00 UTC. Cannot fail; any thread.
std::int64_t calendarTime();

// Milliseconds of wall time since the process started. Only the low 32 bits, so it wraps
// after some 24 days. Cannot fail; any thread.
std::int32_t processClock();
