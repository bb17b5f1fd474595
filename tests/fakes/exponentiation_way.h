// The way of exponentiation of a test's choice: linked instead of the one that times
// them.
#pragma once

#include "prime/exponentiation_way.h"

#include <atomic>

// The way of every rejection, and of witnesses where it can do them. By default
// slidingWindow.
extern std::atomic<ExponentiationWay> fakeWay;

// How many exponentiations were noted, by way.
extern std::array<std::atomic<int>, wayCount> fakeWayUses;
