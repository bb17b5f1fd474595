#include "platform/thread.h"

#include <chrono>
#include <memory>
#include <new>
#include <pthread.h>
#include <thread>
#include <unistd.h>

struct ThreadObject {
    pthread_t thread;
    bool joined;
};

namespace
{

struct ThreadStart {
    ThreadProc procedure;
    void* argument;
};

void* runThread(void* start)
{
    const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
    owned->procedure(owned->argument);
    return nullptr;
}

} // namespace

ThreadHandle createThread(ThreadProc procedure, void* argument)
{
    std::unique_ptr<ThreadObject> object(new (std::nothrow) ThreadObject{});
    std::unique_ptr<ThreadStart> start(new (std::nothrow)
                                           ThreadStart{procedure, argument});
    if (!object || !start)
        return nullptr;

    if (pthread_create(&object->thread, nullptr, runThread, start.get()) != 0)
        return nullptr;
    static_cast<void>(start.release());
    return object.release();
}

bool waitForThreads(const ThreadHandle* threads, int count)
{
    if (count < 1 || count > maxWaitHandles)
        return false;
    for (int i = 0; i < count; ++i)
        if (threads[i] == nullptr)
            return false;

    for (int i = 0; i < count; ++i) {
        if (threads[i]->joined)
            continue;
        pthread_join(threads[i]->thread, nullptr);
        threads[i]->joined = true;
    }
    return true;
}

void closeThread(ThreadHandle thread)
{
    if (!thread->joined)
        pthread_detach(thread->thread);
    delete thread;
}

void pauseThread(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

std::uint32_t currentThreadId()
{
    return static_cast<std::uint32_t>(gettid());
}
