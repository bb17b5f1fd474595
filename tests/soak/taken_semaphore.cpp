#include "tests/soak/taken_semaphore.h"

#include <cstdio>

TakenSemaphore takeName(const std::wstring& name)
{
    const std::string own(name.begin(), name.end());
    const std::string taken = "/" + own + "_taken";
    // A removed name would lead nobody to the semaphore any more, and looking it up
    // first could find another than the one that is removed.
    const std::string folder = "/dev/shm/sem.";
    if (std::rename((folder + own).c_str(), (folder + taken.substr(1)).c_str()) != 0)
        return nullptr;
    sem_t* semaphore = sem_open(taken.c_str(), 0);
    sem_unlink(taken.c_str());
    return TakenSemaphore(semaphore == SEM_FAILED ? nullptr : semaphore);
}
