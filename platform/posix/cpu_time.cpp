#include "platform/cpu_time.h"

#include <ctime>
#include <sys/resource.h>

namespace
{

double secondsOf(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Of all children whose end has been waited for.
double secondsOfEndedChildren()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

} // namespace

double threadCpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

WatchedChild watchChild(int /*process*/)
{
    return {nullptr, secondsOfEndedChildren()};
}

double cpuSecondsOf(WatchedChild child)
{
    return secondsOfEndedChildren() - child.before;
}
