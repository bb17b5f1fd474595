#include "platform/thread.h"

#include <memory>
#include <new>
#include <windows.h>

// A ThreadHandle is the system's handle; there is never a ThreadObject.

namespace
{

struct ThreadStart {
    ThreadProc procedure;
    void* argument;
};

DWORD WINAPI runThread(void* start)
{
    const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
    return owned->procedure(owned->argument);
}

HANDLE nativeHandle(ThreadHandle thread)
{
    return reinterpret_cast<HANDLE>(thread);
}

} // namespace

ThreadHandle createThread(ThreadProc procedure, void* argument)
{
    std::unique_ptr<ThreadStart> start(new (std::nothrow)
                                           ThreadStart{procedure, argument});
    if (!start)
        return nullptr;

    HANDLE thread = CreateThread(nullptr, 0, runThread, start.get(), 0, nullptr);
    if (!thread)
        return nullptr;
    static_cast<void>(start.release());
    return reinterpret_cast<ThreadHandle>(thread);
}

bool waitForThreads(const ThreadHandle* threads, int count)
{
    static_assert(maxWaitHandles == MAXIMUM_WAIT_OBJECTS);
    if (count < 1 || count > maxWaitHandles)
        return false;
    HANDLE handles[maxWaitHandles];
    for (int i = 0; i < count; ++i)
        handles[i] = nativeHandle(threads[i]);
    return WaitForMultipleObjects(static_cast<DWORD>(count), handles, TRUE, INFINITE) !=
           WAIT_FAILED;
}

void closeThread(ThreadHandle thread)
{
    CloseHandle(nativeHandle(thread));
}

void pauseThread(int milliseconds)
{
    Sleep(static_cast<DWORD>(milliseconds));
}

std::uint32_t currentThreadId()
{
    return GetCurrentThreadId();
}
