// The handles of this process. What processes share is in semaphore_file.
#include "platform/named_semaphore.h"

#include "platform/posix/semaphore_file.h"
#include "platform/posix/semaphore_names.h"
#include "platform/thread.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <semaphore.h>
#include <string>
#include <utility>

struct SemaphoreObject {
    OwnedFile file;
    // This process released it, or tried to release another user's.
    std::atomic<bool> raised = false;
    int holders = 1; // how often this process has it open
    SemaphoreObject* next = nullptr;
};

namespace
{

// Guards the variables below, and lets one thread at a time into semaphore_file: the
// kernel's locks cannot keep threads apart that share a handle.
std::mutex handlesMutex;
SemaphoreObject* firstHandle = nullptr;
bool ending = false;

SemaphoreObject* findHeld(const std::string& path)
{
    SemaphoreObject* handle = firstHandle;
    while (handle && handle->file->path != path)
        handle = handle->next;
    return handle;
}

// A handle for what `find` returns; null when it finds nothing. The handle is made before
// the search: a file found without room for its handle could not be given up.
template <typename Find>
SemaphoreObject* makeHandle(Find find)
{
    auto handle = std::make_unique<SemaphoreObject>();
    handle->file = find();
    if (!handle->file)
        return nullptr;
    handle->next = firstHandle;
    firstHandle = handle.release();
    return firstHandle;
}

void dropHandle(SemaphoreObject* semaphore)
{
    SemaphoreObject** link = &firstHandle;
    while (*link != semaphore)
        link = &(*link)->next;
    *link = semaphore->next;
    delete semaphore;
}

// Waits on a semaphore into which another user may have written anything: the C library's
// wait trusts what it finds there, and may never return. That user could also lower the
// count before this process sees the release of its own search. So a release by this
// process ends the wait, too.
void waitWithoutTrust(SemaphoreObject& semaphore)
{
    constexpr int pollMilliseconds = 20;
    while (sem_trywait(&semaphore.file->shared->semaphore) != 0 && !semaphore.raised)
        pauseThread(pollMilliseconds);
}

} // namespace

SemaphoreHandle createNamedSemaphore(const wchar_t* name, int count, int maximum)
{
    try {
        const std::string path = semaphorePath(name);
        const std::scoped_lock lock(handlesMutex);
        if (path.empty() || ending)
            return nullptr;
        return makeHandle([&] { return createSemaphoreFile(path, count, maximum); });
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

SemaphoreHandle openNamedSemaphore(const wchar_t* name)
{
    try {
        const std::string path = semaphorePath(name);
        const std::scoped_lock lock(handlesMutex);
        if (path.empty() || ending)
            return nullptr;
        // A semaphore that is held exists, even when another program has removed its
        // name: a search that could not release its own semaphore would never end.
        SemaphoreObject* held = findHeld(path);
        if (!held)
            return makeHandle([&] { return openSemaphoreFile(path); });
        ++held->holders;
        return held;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool releaseSemaphore(SemaphoreHandle semaphore)
{
    const std::scoped_lock lock(handlesMutex);
    const bool raised = raiseCount(*semaphore->file);
    // Another user may have set the count to a value that cannot be raised.
    if (raised || semaphore->file->ofAnotherUser)
        semaphore->raised = true;
    return raised;
}

bool waitForSemaphore(SemaphoreHandle semaphore)
{
    if (semaphore->file->ofAnotherUser) {
        waitWithoutTrust(*semaphore);
        return true;
    }
    // In slices: a process may be killed after it was woken and before it took the count.
    // The count then stays, and no other process would ever be woken for it.
    constexpr time_t sliceSeconds = 1;
    int result = 0;
    do {
        timespec end = {};
        clock_gettime(CLOCK_MONOTONIC, &end);
        noteWait(*semaphore->file, end.tv_sec);
        end.tv_sec += sliceSeconds;
        result =
            sem_clockwait(&semaphore->file->shared->semaphore, CLOCK_MONOTONIC, &end);
    } while (result == -1 && (errno == EINTR || errno == ETIMEDOUT));
    return result == 0;
}

void closeSemaphore(SemaphoreHandle semaphore)
{
    const std::scoped_lock lock(handlesMutex);
    if (--semaphore->holders > 0)
        return;
    giveUpFile(*semaphore->file);
    dropHandle(semaphore);
}

void giveUpSemaphoreNames()
{
    const std::scoped_lock lock(handlesMutex);
    ending = true;
    for (const SemaphoreObject* handle = firstHandle; handle; handle = handle->next)
        giveUpFile(*handle->file);
}
