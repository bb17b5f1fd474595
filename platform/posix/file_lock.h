// Locks on single bytes of a file. They belong to the open file description: the
// kernel drops them with the process that holds them, however it ends, and threads
// that share a descriptor share its locks.
//
// No call waits without limit: the process that holds a lock may have been stopped, and
// may never go on.
#pragma once

#include "platform/posix/descriptor.h"

#include <chrono>
#include <cstdint>
#include <sys/types.h>

enum class LockKind : std::uint8_t { shared, exclusive };

// taken: a lock of another descriptor is in the way. failed: the system can give no lock.
enum class LockOutcome : std::uint8_t { held, taken, failed };

// Tries once. A lock that this descriptor holds on the byte is replaced in one step; it
// stays as it is unless the outcome is `held`.
LockOutcome tryLock(const Descriptor& file, off_t byte, LockKind kind);

// Tries until it has the lock or `patience` has passed.
LockOutcome lockWithin(const Descriptor& file, off_t byte, LockKind kind,
                       std::chrono::milliseconds patience);

// Gives up what this descriptor holds on the byte, if it holds anything.
void unlock(const Descriptor& file, off_t byte);

// Returns what tryLock would return for an exclusive lock, and takes no lock. `held` then
// means: nobody else has a lock.
LockOutcome lookAtLock(const Descriptor& file, off_t byte);
