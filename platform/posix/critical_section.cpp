#include "platform/critical_section.h"

void initializeCriticalSection(CriticalSection& section)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&section, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void enterCriticalSection(CriticalSection& section)
{
    pthread_mutex_lock(&section);
}

void leaveCriticalSection(CriticalSection& section)
{
    pthread_mutex_unlock(&section);
}

void deleteCriticalSection(CriticalSection& section)
{
    // A destroyed mutex must not be locked again, a deleted section may be
    // entered by a late thread: leave a fresh mutex behind. It holds no resource.
    if (pthread_mutex_destroy(&section) == 0)
        initializeCriticalSection(section);
}
