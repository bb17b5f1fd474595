// Threads and the wait for all of them.
#pragma once

#include <cstdint>

// What a thread runs: gets the argument given at its creation, returns the
// thread's exit code.
using ThreadProc = std::uint32_t (*)(void* argument);

// A started thread. Owned by whoever created it, until closeThread.
struct ThreadObject;
using ThreadHandle = ThreadObject*;

// The most handles that one wait takes.
inline constexpr int maxWaitHandles = 64;

// Starts a thread with the default stack that runs procedure(argument). Null
// when the system cannot start one.
ThreadHandle createThread(ThreadProc procedure, void* argument);

// Waits, without limit, until all `count` threads have ended, and returns true.
// Returns false at once, without waiting, when count is below 1 or above
// maxWaitHandles or when a handle is null.
bool waitForThreads(const ThreadHandle* threads, int count);

// Gives the handle up; the thread, if it still runs, goes on without it.
// `thread` is not null and not used again.
void closeThread(ThreadHandle thread);

// Lets at least so many milliseconds pass, other threads running meanwhile.
void pauseThread(int milliseconds);

// The id of the calling thread. No other thread that is alive has the same one.
std::uint32_t currentThreadId();
