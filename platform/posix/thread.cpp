#include "platform/thread.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <pthread.h>
#include <thread>
#include <unistd.h>

enum class ThreadStage {
    running, // its procedure, while there is a handle
    ended,   // its procedure has returned; whoever has the handle joins it
    closed   // the handle was given up before: the thread detaches itself
};

// Shared by the thread and its handle; whichever comes last frees it.
struct ThreadObject {
    ThreadProc procedure;
    void* argument;
    std::atomic<ThreadStage> stage = ThreadStage::running;
    pthread_t thread{};
    bool joined = false;
};

namespace
{

// A thread is detached only by itself. glibc's pthread_detach still reads the thread's
// record after detaching. If another thread made the call, the detached thread could have
// ended and its record been freed.
void* runThread(void* argument)
{
    auto* object = static_cast<ThreadObject*>(argument);
    object->procedure(object->argument);
    if (object->stage.exchange(ThreadStage::ended) == ThreadStage::closed) {
        delete object;
        pthread_detach(pthread_self());
    }
    return nullptr;
}

} // namespace

ThreadHandle createThread(ThreadProc procedure, void* argument)
{
    std::unique_ptr<ThreadObject> object(new (std::nothrow)
                                             ThreadObject{procedure, argument});
    if (!object || pthread_create(&object->thread, nullptr, runThread, object.get()) != 0)
        return nullptr;
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
    if (!thread->joined) {
        if (thread->stage.exchange(ThreadStage::closed) == ThreadStage::running)
            return;
        pthread_join(thread->thread, nullptr);
    }
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
