// The callback of every search: shows progress and passes the stop on.
#pragma once

#include "prime/big_number.h"

// The mark of an event: "." for candidateEvent, "*" for iterationEvent, "!" for
// turnEvent, "." for any other number.
char progressChar(int event);

// Writes the event's mark to the file outPrompt, if there is one; otherwise to standard
// output, unless noPrompt is set. The file is opened and closed for this one mark; when
// it cannot be opened, the mark is lost. Returns 1 to go on, 0 once the stop flag that
// `callback` carries is set. `counter` is ignored. Any number of threads.
int callBack2(int event, int counter, GenCallback* callback);
