// Threads that never run: linked instead of the platform's, for what is around
// them.
#pragma once

#include "platform/thread.h"

#include <functional>
#include <vector>

struct FakeThread {
    ThreadProc procedure;
    void* argument;
};

// What was asked for since the test cleared it.
struct FakeThreads {
    std::vector<FakeThread> created;
    int refusedThread = -1; // the thread, in order of creation, that cannot start
    // Called at each wait: the test's place to look, and to play a thread.
    std::function<void(int handles)> wait;
    std::function<void()> pause; // called at each pause, which takes no time
    int closed = 0;              // handles given up
};
extern FakeThreads fakeThreads;
