// A counting semaphore that every process of this user can reach by name. It exists from
// the first create until the last handle to it is closed. After its last holders died,
// the name may still be there; the next create then sets the count and the maximum that
// it was given.
//
// Only waitForSemaphore waits for another process without limit.
#pragma once

// A handle to a semaphore. Owned by whoever created or opened it, until
// closeSemaphore; any thread may use it.
struct SemaphoreObject;
using SemaphoreHandle = SemaphoreObject*;

// Creates the semaphore with `count` of at most `maximum`, or opens the one that exists
// as it is, whatever its count and maximum. One whose holders all died is set to `count`
// and `maximum`. Null when the name cannot be a semaphore's, the rights are missing or
// memory is short.
SemaphoreHandle createNamedSemaphore(const wchar_t* name, int count, int maximum);

// Opens the semaphore of that name, to release it. If this process holds one of that
// name already, it gets the same one. Null when there is none.
SemaphoreHandle openNamedSemaphore(const wchar_t* name);

// Raises the count by one, which lets one waiting thread of any process go on. False, and
// the count as it was, when it stands at its maximum or cannot be raised. On POSIX, any
// release of another user's semaphore by this process, even one that returns false, ends
// this process's waits for it.
bool releaseSemaphore(SemaphoreHandle semaphore);

// Waits, without limit, until the count is above zero and lowers it by one. On POSIX, a
// wait for another user's semaphore also ends once this process has released it or tried
// to; the count may then stay as it is. False when the system cannot wait on it.
bool waitForSemaphore(SemaphoreHandle semaphore);

// Gives the handle up. Nobody may be waiting on it.
void closeSemaphore(SemaphoreHandle semaphore);
