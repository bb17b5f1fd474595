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

// taken: another descriptor's lock is in the way. failed: the system has none to give.
enum class LockOutcome : std::uint8_t { held, taken, failed };

// Tries once. Replaces, in one step, a lock that this descriptor holds on the byte;
// that one stays as it is unless the outcome is `held`.
LockOutcome tryLock(const Descriptor& file, off_t byte, LockKind kind);

// Tries until it has the lock or `patience` has passed.
LockOutcome lockWithin(const Descriptor& file, off_t byte, LockKind kind,
                       std::chrono::milliseconds patience);

// Gives up what this descriptor holds on the byte, if it holds anything.
void unlock(const Descriptor& file, off_t byte);

// Tells what tryLock would, for an exclusive lock, and takes none.
LockOutcome lookAtLock(const Descriptor& file, off_t byte);

// One try after another, for about as long as `patience`: a turn gives the processor
// up, from the second dozen on for a millisecond.
class Tries
{
public:
    explicit Tries(std::chrono::milliseconds patience);

    // Lets some time pass before the next try. False, at once, when the time is up.
    bool another();

private:
    std::chrono::steady_clock::time_point end_;
    int made_ = 0;
};
