// A system without room for another thread.
#pragma once

#include <cstddef>
#include <pthread.h>

// No thread can start while one exists: its stack would be larger than any memory.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_getattr_default_np(&before);
        pthread_attr_t endless = before;
        pthread_attr_setstacksize(&endless, std::size_t{1} << 60);
        pthread_setattr_default_np(&endless);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&before);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t before{};
};

// Whether that works here.
inline bool canStartThread()
{
    pthread_t thread{};
    const auto doNothing = [](void* /*argument*/) -> void* {
        return nullptr;
    };
    return pthread_create(&thread, nullptr, doNothing, nullptr) == 0 &&
           pthread_join(thread, nullptr) == 0;
}
