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
    // A late thread may enter a deleted section, but nobody may lock a destroyed mutex.
    // So a fresh one takes its place. It holds no resource.
    if (pthread_mutex_destroy(&section) == 0)
        initializeCriticalSection(section);
}
