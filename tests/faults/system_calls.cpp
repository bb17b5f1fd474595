// Stands between the program and the C library, at link time, as crypto_calls.cpp
// does between it and libcrypto.
#include "tests/faults/fault.h"
#include "tests/faults/wrap.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

bool fails(const char* function)
{
    if (!strikes(FaultKind::systemCall, function))
        return false;
    errno = faultError();
    return true;
}

} // namespace

#define FAILS(name, type, parameters, arguments, failure)                                \
    DECLARE(name, type, parameters)                                                      \
    type wrapped_##name parameters                                                       \
    {                                                                                    \
        return fails(#name) ? (failure) : real_##name arguments;                         \
    }
#define FAILS_AFTER(name, type, parameters, arguments, failure)                          \
    DECLARE(name, type, parameters)                                                      \
    type wrapped_##name parameters                                                       \
    {                                                                                    \
        const type returned = real_##name arguments;                                     \
        return fails(#name) ? (failure) : returned;                                      \
    }
#define BY_HAND(name)
#define CANNOT_FAIL(name)

extern "C" {

#include "tests/faults/system_calls.inc"

DECLARE(fcntl, int, (int file, int command, ...))
DECLARE(fwrite, std::size_t,
        (const void* block, std::size_t size, std::size_t count, std::FILE* stream))
DECLARE(open, int, (const char* path, int flags, ...))
DECLARE(pthread_create, int,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*procedure)(void*),
         void* argument))
DECLARE(pwrite, ssize_t, (int file, const void* block, std::size_t size, off_t offset))
DECLARE(readdir, dirent*, (DIR * folder))

// The program never blocks on a lock, so no signal interrupts the call; only F_OFD_SETLK
// can return EAGAIN. Giving a lock up whole cannot fail: it needs nothing of the system.
bool lockMayFail(int command, const struct flock& lock)
{
    if (lock.l_type == F_UNLCK || faultError() == EBADF)
        return false;
    return faultError() != EAGAIN || command == F_OFD_SETLK;
}

int wrapped_fcntl(int file, int command, ...)
{
    if (command == F_GETFD)
        return faultError() == EBADF && fails("fcntl") ? -1 : real_fcntl(file, command);
    std::va_list arguments;
    va_start(arguments, command);
    auto* lock = va_arg(arguments, struct flock*);
    va_end(arguments);
    return lockMayFail(command, *lock) && fails("fcntl")
               ? -1
               : real_fcntl(file, command, lock);
}

// When it fails, writes only half.
std::size_t wrapped_fwrite(const void* block, std::size_t size, std::size_t count,
                           std::FILE* stream)
{
    return real_fwrite(block, size, fails("fwrite") ? count / 2 : count, stream);
}

int wrapped_open(const char* path, int flags, ...)
{
    if (fails((flags & O_APPEND) != 0 ? "open-append" : "open"))
        return -1;
    if ((flags & (O_CREAT | O_TMPFILE)) == 0)
        return real_open(path, flags);
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return real_open(path, flags, mode);
}

struct ThreadStart {
    int number;
    void* (*procedure)(void*);
    void* argument;
};

void* startNumbered(void* memory)
{
    const ThreadStart start = *static_cast<ThreadStart*>(memory);
    std::free(memory);
    enterThread(start.number);
    return start.procedure(start.argument);
}

int wrapped_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                           void* (*procedure)(void*), void* argument)
{
    static int threads = 0; // one thread alone starts the others
    if (fails("pthread_create"))
        return faultError();
    void* start = std::malloc(sizeof(ThreadStart));
    if (!start)
        return EAGAIN;
    new (start) ThreadStart{++threads, procedure, argument};
    return real_pthread_create(thread, attributes, startNumbered, start);
}

ssize_t wrapped_pwrite(int file, const void* block, std::size_t size, off_t offset)
{
    if (!fails("pwrite"))
        return real_pwrite(file, block, size, offset);
    return faultError() == 0 ? real_pwrite(file, block, size / 2, offset) : -1;
}

// Shows this test's semaphores only: those of others, which come and go, would
// change the number of calls from run to run.
dirent* wrapped_readdir(DIR* folder)
{
    if (fails("readdir"))
        return nullptr;
    const char* mine = std::getenv("NORV_FAULT_NAMES");
    dirent* entry = real_readdir(folder);
    while (entry && mine && !std::strstr(entry->d_name, mine))
        entry = real_readdir(folder);
    return entry;
}

} // extern "C"
