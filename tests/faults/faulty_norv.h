// What the program with a fault ends with when something is wrong with the run: no
// result of these runs has so many characters.
#pragma once

inline constexpr int hungExitCode = 200;
inline constexpr int unsetExitCode = 202;
inline constexpr int brokenExitCode = 203;

inline constexpr unsigned int hungSeconds = 15;
