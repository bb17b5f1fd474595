// Several threads that run one procedure at once, and the wait for them.
#pragma once

#include "platform/thread.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <vector>

// Starts `count` threads that run procedure(argument).
inline std::vector<ThreadHandle> startThreads(int count, ThreadProc procedure,
                                              void* argument)
{
    std::vector<ThreadHandle> threads(static_cast<std::size_t>(count));
    for (ThreadHandle& thread : threads)
        thread = createThread(procedure, argument);
    return threads;
}

inline void closeThreads(const std::vector<ThreadHandle>& threads)
{
    for (ThreadHandle thread : threads)
        closeThread(thread);
}

// Waits for all of them, one wait's worth at most, and gives the handles up.
inline void joinThreads(const std::vector<ThreadHandle>& threads)
{
    EXPECT_TRUE(waitForThreads(threads.data(), static_cast<int>(threads.size())));
    closeThreads(threads);
}

inline void runThreads(int count, ThreadProc procedure, void* argument)
{
    joinThreads(startThreads(count, procedure, argument));
}
