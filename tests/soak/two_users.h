// Two users of one system with one semaphore name.
#pragma once

#include "tests/soak/job.h"
#include "tests/soak/tally.h"

#include <string>

// As root only, else false: runs of root and of nobody meet at the name, each of them
// first and each killed once. Counts how they end; root's next run finds the name free.
bool runAsTwoUsers(const std::wstring& name, Random& random, Tally& tally);
