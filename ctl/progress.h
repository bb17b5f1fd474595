// The progress of a search, on standard error: a line that renews itself on a terminal,
// else a line at the start and one at the end.
#pragma once

#include "ctl/estimate.h"

#include <string>
#include <uv.h>

struct Progress {
    bool shown = false;
    bool live = false; // the line renews itself
    bool lineOpen = false;
    uv_tty_t terminal = {}; // open when live

    int bits = 0;
    bool safe = false;
    int threads = 0;
    int count = 1; // primes asked for
    int done = 0;  // of them
    Estimate estimate;
};

// Whether and how progress is to be shown: not when `quiet`; renewed where standard error
// is a terminal and the environment's NO_COLOR is not set. A terminal stays open on the
// loop until closeProgress, and does not keep the loop alive.
void openProgress(Progress& progress, uv_loop_t* loop, bool quiet);
void closeProgress(Progress& progress);

// The first search begins.
void showStart(Progress& progress);

// A search goes on after so many seconds. Renews the line, where it does that.
void showElapsed(Progress& progress, double seconds);

// A prime was found after so many seconds, and is being checked.
void showChecking(Progress& progress, double seconds);

// All primes have been found, after `seconds` in all; the last search took `last`
// seconds.
void showEnd(Progress& progress, double seconds, double last);

// The search ends without a prime after so many seconds. Where the line is not renewed,
// it tells the same figures as at the start.
void showStopped(Progress& progress, double seconds);

// Renews the line, where it does that, with this text.
void showLine(Progress& progress, const std::string& line);

// Removes the line, where there is one, so that something else can be said.
void clearProgress(Progress& progress);

// What is shown of a search that has gone on for so many seconds.
std::string progressText(const Progress& progress, double seconds);
