// CPU time: what a thread and what a child process take.
#pragma once

// The CPU time that the calling thread has taken so far, in seconds.
double threadCpuSeconds();

// A child process whose CPU time is wanted.
struct WatchedChild {
    void* handle = nullptr; // the system's, or null
    double before = 0;      // what others had taken before
};

// Watches the child with this number. To be called before its end has been waited for.
// No other child's end may be waited for until cpuSecondsOf.
WatchedChild watchChild(int process);

// The CPU time of all its threads, in seconds. To be called once, after its end has been
// waited for. 0 where the system does not tell.
double cpuSecondsOf(WatchedChild child);
