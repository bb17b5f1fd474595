// A program with a fault, which its environment describes:
//   NORV_FAULT         KIND NUMBER ERROR LATE FUNCTION ("-": any)
//   NORV_FAULT_REPORT  the file that the report is written to
#pragma once

#include "tests/faults/fault.h"

// What it ends with when something is wrong with the run. No program here ends in this
// way by itself.
inline constexpr int hungExitCode = 200;
inline constexpr int unsetExitCode = 202;
inline constexpr int brokenExitCode = 203;

inline constexpr unsigned int hungSeconds = 15;

// To be called first: lets the process end with one of these codes when it breaks, takes
// too long or cannot be set up.
void guardFaultyProcess();

// The fault that the environment describes; none by default.
Fault describedFault();
