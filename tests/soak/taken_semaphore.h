// A semaphore whose name a foreign program took away while others held it.
#pragma once

#include <memory>
#include <semaphore.h>
#include <string>

struct CloseTaken {
    void operator()(sem_t* semaphore) const
    {
        sem_close(semaphore);
    }
};
using TakenSemaphore = std::unique_ptr<sem_t, CloseTaken>;

// Takes the name away in one step, whoever made it, and keeps the semaphore, so that
// those who still wait on it can be stopped. Null when there is none.
TakenSemaphore takeName(const std::wstring& name);
