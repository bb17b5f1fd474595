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
    // A late thread may enter a deleted section, which the system does not promise for
    // its own record. So a fresh one takes its place. It holds no resource.
    InitializeCriticalSection(&section);
}
