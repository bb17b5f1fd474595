// The command that finds primes: generate, and dhparam.
#pragma once

#include "ctl/check_text.h"
#include "ctl/options.h"

// Finds, checks and writes the primes that `options` ask for. Returns the program's exit
// code, after it has said what went wrong. Ends the process itself where a check of a
// large prime would have to be waited for. Throws std::bad_alloc: then the process must
// end.
int generate(const Options& options);

// Searches with one thread from `base` for the first prime, or safe prime, of `bits`
// bits, and checks it. Of the options counts what is said of norv and of progress. The
// caller prepares for dependents before, and finishes with them afterwards. Ends the
// process itself, and throws, as generate does.
RepeatedSearch repeatSearch(const Options& options, const BIGNUM* base, int bits,
                            bool safe);
