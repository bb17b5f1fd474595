// The command that tells how long searches take here.
#pragma once

#include "ctl/options.h"

// Writes the mean, the median and the 90th percentile to standard output, or with
// options.points the whole distribution, as a line "SECONDS CHANCE" for each point.
// Returns the program's exit code, after it has said what went wrong. Throws
// std::bad_alloc.
int tellEstimate(const Options& options);
