// A named semaphore as the file that sem_open("/" + name) opens, so that any program
// reaches it. POSIX names stay until somebody removes them. A semaphore made here keeps
// its name as long as a process holds it, and the last holder removes the name when it
// gives the semaphore up. If that holder was killed, the name stays until a later create
// takes the semaphore over or clears it away.
//
// A semaphore is our own when its file belongs to the effective user, gives rights to
// that user alone, and carries our mark. Any other one is foreign: it is used as it is,
// without a lock, and never removed. So no other user's process can hold a lock that
// matters here.
//
// Two bytes of an own file carry locks:
//  - liveness: every holder has a shared lock on it, from before the name appears. A
//    process that gets an exclusive lock on it knows that nobody holds the semaphore: it
//    is abandoned;
//  - release: locked exclusively to compare the count with its maximum and raise it.
//
// Every own file has two names: the one that sem_open looks for, and a second link in a
// folder of its user. The second one is there to find abandoned semaphores: to look in
// that folder costs nothing for the files of others.
//
// | operation             | lock on liveness     | lock on   | a kill in the middle     |
// |                       |                      | release   | leaves                   |
// |-----------------------|----------------------|-----------|--------------------------|
// | make (create)         | shared               | none      | nothing; the second link |
// |                       |                      |           | alone; or a finished,    |
// |                       |                      |           | abandoned semaphore      |
// | join (create, open)   | shared               | none      | what was there before,   |
// |                       |                      |           | abandoned if the other   |
// |                       |                      |           | holders have ended       |
// | take over (create)    | exclusive, then      | none      | an abandoned semaphore,  |
// |                       | shared, in one step  |           | perhaps with another     |
// |                       |                      |           | count                    |
// | note a wait           | shared               | none      | an abandoned semaphore   |
// | release (raise)       | shared               | exclusive | the count, raised or not |
// | give up               | none, then exclusive | none      | an abandoned semaphore,  |
// |                       |                      |           | or its second link alone |
// | clear away (create of | exclusive            | none      | an abandoned semaphore,  |
// | any other name)       |                      |           | or its second link alone |
//
// The next create of its name takes an abandoned semaphore over, so that it goes on
// serving the programs that have it open. When nobody has waited on it for a minute, a
// create of any other name clears it away, and also a second link that is left alone.
//
// A lock that another process holds is waited for half a second at most. After that its
// holder has most likely been stopped, and locks on that byte are only tried, without a
// wait, until one try succeeds. The comment of each function says what it does without
// the lock.
#pragma once

#include "platform/posix/descriptor.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <semaphore.h>
#include <string>

// The content of an own file. Of a foreign one, only the first field is known to be
// there.
struct SharedSemaphore {
    sem_t semaphore; // first: the C library maps the file from its start
    char mark[16];
    std::int32_t maximum;
    std::atomic<std::int64_t> lastWait; // seconds of the clock that never goes back
    char fileName[256];                 // ends with a zero
};

struct Unmap {
    std::size_t size;
    void operator()(SharedSemaphore* shared) const;
};

// An open semaphore. Closing the descriptor gives up its locks.
struct SemaphoreFile {
    Descriptor descriptor;
    std::string path;
    std::string index;      // the folder with the second links, where it is our own
    std::string indexEntry; // the second link
    std::unique_ptr<SharedSemaphore, Unmap> shared;
    bool own;
    bool ofAnotherUser; // that user may have written anything into it
};

using OwnedFile = std::unique_ptr<SemaphoreFile>;

// The path of the file of that semaphore. Empty when the name cannot be a semaphore's: it
// is empty, has a slash in it, or is too long. Throws std::bad_alloc.
std::string semaphorePath(const wchar_t* name);

// Except noteWait, the functions below are called by one thread at a time.

// Clears away the user's semaphores of other names that were abandoned a minute ago. Then
// opens the one at `path` as it is; or takes an abandoned one over and sets it to `count`
// and `maximum`; or makes it. If another process holds the exclusive lock on the liveness
// for too long, the semaphore is used like a foreign one. Null when there can be none.
// Throws std::bad_alloc, and has then neither joined nor made one.
OwnedFile createSemaphoreFile(const std::string& path, int count, int maximum);

// Opens the semaphore at `path` as it is, and waits for a lock as above. Null when there
// is none, or only an abandoned one, which stays. Throws std::bad_alloc.
OwnedFile openSemaphoreFile(const std::string& path);

// Notes that somebody waits on the semaphore, at this second of the monotonic clock.
// Any thread may.
void noteWait(const SemaphoreFile& file, std::int64_t second);

// Raises the count by one. False when it stands at its maximum, or cannot be raised.
// When another process holds the release lock for too long, or the system can give no
// lock, the count is raised without it: two releases at the same moment may then both
// succeed.
bool raiseCount(const SemaphoreFile& file);

// Makes this process a holder no more, and removes the names when it was the last one.
// Does not wait. The file stays open, and its semaphore usable.
void giveUpFile(const SemaphoreFile& file);
