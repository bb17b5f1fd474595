// The driver: from the command line to the exit code.
#pragma once

#include <cstdint>

// Exit codes besides the number of result characters, and 0 for the usage text.
inline constexpr std::int32_t exitNoResult = -1; // bad base, or no prime found
inline constexpr std::int32_t exitNotStarted =
    -2; // no base asked for, or a thread missing

// Runs the whole program on this process's command line and standard streams.
// Returns the exit code; or ends the process with it when the threads cannot be
// waited for, since they still use what the driver holds. Once per process.
// Throws std::bad_alloc.
std::int32_t runProgram();
