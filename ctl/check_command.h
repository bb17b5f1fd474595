// The command that tells what a file holds.
#pragma once

#include "ctl/options.h"

// Checks the file that `options` name and says what it is. Returns the program's exit
// code, after it has said what is wrong. Throws std::bad_alloc.
int check(const Options& options);
