#include "tests/fakes/thread.h"

#include <algorithm>
#include <memory>

FakeThreads fakeThreads;

struct ThreadObject {
};

ThreadHandle createThread(ThreadProc procedure, void* argument)
{
    const auto number = static_cast<int>(fakeThreads.created.size());
    fakeThreads.created.push_back({procedure, argument});
    return number == fakeThreads.refusedThread ? nullptr : new ThreadObject;
}

bool waitForThreads(const ThreadHandle* threads, int count)
{
    if (fakeThreads.wait)
        fakeThreads.wait(count);
    return count >= 1 && count <= maxWaitHandles &&
           std::all_of(threads, threads + count,
                       [](ThreadHandle thread) { return thread; });
}

void closeThread(ThreadHandle thread)
{
    const std::unique_ptr<ThreadObject> owned(thread);
    ++fakeThreads.closed;
}

void pauseThread(int /*milliseconds*/)
{
    if (fakeThreads.pause)
        fakeThreads.pause();
}

std::uint32_t currentThreadId()
{
    return 1;
}
