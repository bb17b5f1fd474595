// What the program with a fault ends with when something is wrong with the run: no
// result has so many characters.
#pragma once

inline constexpr int hungExitCode = 200;
inline constexpr int unsetExitCode = 201;

inline constexpr unsigned int hungSeconds = 15;
