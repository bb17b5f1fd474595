#include "platform/cpu_time.h"

#include <windows.h>

namespace
{

// A time in steps of 100 ns.
double secondsOf(const FILETIME& time)
{
    const ULARGE_INTEGER steps{{time.dwLowDateTime, time.dwHighDateTime}};
    return static_cast<double>(steps.QuadPart) / 1e7;
}

} // namespace

double threadCpuSeconds()
{
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user);
    return secondsOf(kernel) + secondsOf(user);
}

WatchedChild watchChild(int process)
{
    return {OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE,
                        static_cast<DWORD>(process)),
            0};
}

double cpuSecondsOf(WatchedChild child)
{
    if (!child.handle)
        return 0;
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(child.handle, &created, &ended, &kernel, &user);
    CloseHandle(child.handle);
    return secondsOf(kernel) + secondsOf(user);
}
