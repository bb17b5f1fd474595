#include "platform/posix/file_lock.h"

#include "platform/posix/tries.h"
#include "platform/posix/uninterrupted.h"

#include <cerrno>
#include <fcntl.h>

namespace
{

struct flock lockOf(off_t byte, short type)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

bool control(const Descriptor& file, int command, struct flock& lock)
{
    return uninterrupted([&] { return fcntl(file.get(), command, &lock); }) == 0;
}

} // namespace

LockOutcome tryLock(const Descriptor& file, off_t byte, LockKind kind)
{
    struct flock lock = lockOf(byte, kind == LockKind::shared ? F_RDLCK : F_WRLCK);
    if (control(file, F_OFD_SETLK, lock))
        return LockOutcome::held;
    return errno == EAGAIN || errno == EACCES ? LockOutcome::taken : LockOutcome::failed;
}

LockOutcome lockWithin(const Descriptor& file, off_t byte, LockKind kind,
                       std::chrono::milliseconds patience)
{
    Tries tries(patience);
    LockOutcome outcome = LockOutcome::failed;
    do
        outcome = tryLock(file, byte, kind);
    while (outcome == LockOutcome::taken && tries.another());
    return outcome;
}

void unlock(const Descriptor& file, off_t byte)
{
    struct flock lock = lockOf(byte, F_UNLCK);
    control(file, F_OFD_SETLK, lock);
}

LockOutcome lookAtLock(const Descriptor& file, off_t byte)
{
    struct flock lock = lockOf(byte, F_WRLCK);
    if (!control(file, F_OFD_GETLK, lock))
        return LockOutcome::failed;
    return lock.l_type == F_UNLCK ? LockOutcome::held : LockOutcome::taken;
}
