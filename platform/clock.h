// The two clocks that the random source mixes. processClock also measures the run and
// short waits.
#pragma once

#include <cstdint>

// Seconds since 1970-01-01 00:00 UTC. Cannot fail; any thread.
std::int64_t calendarTime();

// Milliseconds of wall time since the process started. The low 32 bits as a signed
// number: negative after some 24 days. Cannot fail; any thread.
std::int32_t processClock();
