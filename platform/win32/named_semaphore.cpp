#include "platform/named_semaphore.h"

#include <windows.h>

// A SemaphoreHandle is the system's handle; there is never a SemaphoreObject.

namespace
{

HANDLE nativeHandle(SemaphoreHandle semaphore)
{
    return reinterpret_cast<HANDLE>(semaphore);
}

} // namespace

SemaphoreHandle createNamedSemaphore(const wchar_t* name, int count, int maximum)
{
    return reinterpret_cast<SemaphoreHandle>(
        CreateSemaphoreW(nullptr, count, maximum, name));
}

SemaphoreHandle openNamedSemaphore(const wchar_t* name)
{
    return reinterpret_cast<SemaphoreHandle>(
        OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, name));
}

bool releaseSemaphore(SemaphoreHandle semaphore)
{
    LONG previousCount = 0;
    return ReleaseSemaphore(nativeHandle(semaphore), 1, &previousCount) != 0;
}

bool waitForSemaphore(SemaphoreHandle semaphore)
{
    return WaitForSingleObject(nativeHandle(semaphore), INFINITE) == WAIT_OBJECT_0;
}

void closeSemaphore(SemaphoreHandle semaphore)
{
    CloseHandle(nativeHandle(semaphore));
}
