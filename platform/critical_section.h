// Mutual exclusion between the threads of one process, re-entrant for the
// thread that is inside. The record is the system's own.
#pragma once

#include "native_critical_section.h"

// Makes `section` ready for use. Once per section; no other call may come first.
void initializeCriticalSection(CriticalSection& section);

// Waits, without limit, until no other thread is inside, then goes in. A thread
// that is inside already goes one level deeper. A deleted section may still be
// entered and left by one thread at a time.
void enterCriticalSection(CriticalSection& section);

// Leaves one level. The calling thread must be inside.
void leaveCriticalSection(CriticalSection& section);

// Ends the section's use. Nobody may be inside or waiting.
void deleteCriticalSection(CriticalSection& section);
