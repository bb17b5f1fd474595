// A named semaphore as the file that sem_open("/" + name) opens, so that any program
// reaches it. POSIX names stay until somebody removes them; this file keeps the name
// of a semaphore made here as long as a process holds it, however that process ends.
//
// A semaphore is our own when its file belongs to the effective user, for that user
// alone, and carries our mark. Any other one is foreign: it is used as it is, without a
// lock, and never removed. So no other user's process can hold a lock that matters here.
//
// Two bytes of an own file carry locks:
//  - liveness: every holder has it shared, from before the name appears. Whoever gets
//    it alone knows that nobody holds the semaphore;
//  - release: held alone to compare the count with its maximum and raise it.
//
// | operation  | locks                          | a kill in the middle leaves         |
// |------------|--------------------------------|-------------------------------------|
// | make       | liveness shared                | a nameless file, which vanishes; or |
// |            |                                | a finished, abandoned one           |
// | join       | liveness shared                | nothing                             |
// | take over  | liveness alone, then shared    | an abandoned one, perhaps with less |
// |            |                                | of its count                        |
// | release    | release alone                  | the count, raised or not            |
// | give up    | liveness: none, then alone     | an abandoned one                    |
// | clear away | liveness alone                 | an abandoned one, with or without   |
// |            |                                | its name                            |
//
// An abandoned semaphore is taken over by the next create of its name, so that it goes
// on serving the programs that have it open. When nobody has waited on it for a minute,
// a create of any other name clears it away. For that, every own file has a second link
// in a folder of its user: to look there costs nothing for the files of others.
//
// A lock that another process holds is waited for half a second at most. If it did not
// come in that time, its holder has most likely been stopped: that byte's lock is not
// waited for until it is had again. What happens instead stands at each function.
#pragma once

#include "platform/posix/descriptor.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <semaphore.h>
#include <string>

// The content of an own file; a foreign one is known to hold the first field.
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

// An open semaphore. Closing the descriptor ends its holder's part in it.
struct SemaphoreFile {
    Descriptor descriptor;
    std::string path;
    std::string index;      // the folder with the second links, where it is our own
    std::string indexEntry; // the second link
    std::unique_ptr<SharedSemaphore, Unmap> shared;
    bool own;
    bool ofAnotherUser; // who may have put anything at all into it
};

using OwnedFile = std::unique_ptr<SemaphoreFile>;

// Where the semaphore of that name lies. Empty when the name cannot be one: empty,
// with a slash, or too long. Throws std::bad_alloc.
std::string semaphorePath(const wchar_t* name);

// The functions below are called by one thread at a time.

// Clears away the user's semaphores of other names that were abandoned a minute ago. Then
// opens the one at `path` as it is; or takes an abandoned one over, drained to `count`
// and with this `maximum`; or makes it. If another process keeps the liveness to itself
// for too long, the semaphore is used like a foreign one. Null when there can be none.
// Throws std::bad_alloc, and has then neither joined nor made one.
OwnedFile createSemaphoreFile(const std::string& path, int count, int maximum);

// Opens the semaphore at `path` as it is, as above. Null when there is none, or only an
// abandoned one, which stays. Throws std::bad_alloc.
OwnedFile openSemaphoreFile(const std::string& path);

// Notes that somebody waits on the semaphore, at this second of the monotonic clock.
// Any thread may.
void noteWait(const SemaphoreFile& file, std::int64_t second);

// Raises the count by one. False when it stands at its maximum, or cannot be raised.
// When another process keeps the release lock for too long, or the system has no lock to
// give, the count is raised without it: two releases at the same moment may then both
// succeed.
bool raiseCount(const SemaphoreFile& file);

// Ends this holder's part in keeping the name, and removes the name when it was the
// last. Waits for nobody. The file stays open, and its semaphore usable.
void giveUpFile(const SemaphoreFile& file);
