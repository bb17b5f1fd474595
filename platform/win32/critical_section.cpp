#include "platform/critical_section.h"

void initializeCriticalSection(CriticalSection& section)
{
    InitializeCriticalSection(&section);
}

void enterCriticalSection(CriticalSection& section)
{
    EnterCriticalSection(&section);
}

void leaveCriticalSection(CriticalSection& section)
{
    LeaveCriticalSection(&section);
}

void deleteCriticalSection(CriticalSection& section)
{
    DeleteCriticalSection(&section);
    // A deleted section may be entered by a late thread, which the system's own
    // record does not promise: leave a fresh one behind. It holds no resource.
    InitializeCriticalSection(&section);
}
