// The callback of every search: shows progress and carries the stop.
#pragma once

#include "prime/big_number.h"

// The mark of an event: "." a candidate, "*" a passed iteration, "!" a passed
// turn of a safe prime, "." anything else.
char progressChar(int event);

// Emits the event's mark, to the file outPrompt (opened and closed for this one
// mark, which is lost when that fails) or, without one and unless noPrompt is
// set, to standard output. Returns 1 to go on, 0 once the stop flag that
// `callback` carries is set. `counter` is ignored. Any number of threads.
int callBack2(int event, int counter, GenCallback* callback);
