// A counting semaphore that every process of this user can reach by name. It exists from
// the first create until the last handle to it is closed. After its last holders died,
// the name may still be there; the next create then gives the semaphore its first count
// again.
//
// Only waitForSemaphore waits for another process without limit.
#pragma once

// A handle to a semaphore. Owned by whoever created or opened it, until
// closeSemaphore; any thread may use it.
struct SemaphoreObject;
using SemaphoreHandle = SemaphoreObject*;

// Creates the semaphore with `count` of at most `maximum`, or opens the one that
// exists as it is, whatever its count and maximum. Null when the name cannot be a
// semaphore's, the rights are missing or memory is short.
SemaphoreHandle createNamedSemaphore(const wchar_t* name, int count, int maximum);

// Opens the semaphore of that name, to release it. If this process holds one of that
// name already, it gets the same one. Null when there is none.
SemaphoreHandle openNamedSemaphore(const wchar_t* name);

// Raises the count by one, which lets one waiting thread of any process go on.
// False, and nothing changed, when the count stands at its maximum.
bool releaseSemaphore(SemaphoreHandle semaphore);

// Waits, without limit, until the count is above zero and lowers it by one.
// False when the system cannot wait on it.
bool waitForSemaphore(SemaphoreHandle semaphore);

// Gives the handle up. Nobody may be waiting on it.
void closeSemaphore(SemaphoreHandle semaphore);
