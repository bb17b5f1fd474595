// Processes that hold the locks of a semaphore's file: stopped ones, and another user's.
#pragma once

#include "platform/named_semaphore.h"
#include "platform/posix/semaphore_file.h"
#include "tests/platform/posix/child.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

inline constexpr off_t releaseByte = 0;
inline constexpr off_t livenessByte = 1;

inline std::string semaphoreFilePath(const std::wstring& name)
{
    return std::string("/dev/shm/sem.").append(name.begin(), name.end());
}

// Takes a lock of its own on one byte of the file, for as long as the process lives.
inline bool lockAlone(const std::string& path, off_t byte)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_start = byte;
    lock.l_len = 1;
    return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

// Whether a process holds the semaphore: its part in the liveness is there.
inline bool isHeld(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_start = livenessByte;
    lock.l_len = 1;
    const bool asked = fcntl(file, F_OFD_GETLK, &lock) == 0;
    close(file);
    return asked && lock.l_type == F_RDLCK;
}

// Makes the semaphore one that nobody has waited on for an hour. False when it cannot.
inline bool makeOld(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const std::int64_t second = now.tv_sec - 3600;
    const bool written =
        pwrite(file, &second, sizeof second, offsetof(SharedSemaphore, lastWait)) ==
        static_cast<ssize_t>(sizeof second);
    close(file);
    return written;
}

// A process that holds one byte's lock alone, and has been stopped. Throws where another
// holds the lock.
class StoppedHolder
{
public:
    StoppedHolder(const std::string& path, off_t byte)
        : child_([&] {
            if (!lockAlone(path, byte))
                return 1;
            raise(SIGSTOP);
            return 0;
        })
    {
        int status = 0;
        waitpid(child_.id(), &status, WUNTRACED);
        if (!WIFSTOPPED(status))
            throw std::runtime_error("the lock is not to be had");
    }

private:
    Child child_;
};

// A semaphore that another user made as the program makes its own, opened to everybody,
// with its release lock taken for good. For the administrator only, who can become
// another user.
class LookAlike
{
public:
    explicit LookAlike(const std::wstring& name)
        : path_(semaphoreFilePath(name))
        , maker_([&] {
            const bool made = setuid(otherUser) == 0 &&
                              createNamedSemaphore(name.c_str(), 0, 5) != nullptr &&
                              chmod(path_.c_str(), 0666) == 0 &&
                              lockAlone(path_, releaseByte);
            if (!made)
                _exit(1);
            ready_.open();
            pause();
            return 0;
        })
    {
        ready_.pass();
        struct stat status = {};
        if (stat(path_.c_str(), &status) == 0 && status.st_uid == otherUser)
            inode_ = status.st_ino;
    }
    LookAlike(const LookAlike&) = delete;
    LookAlike& operator=(const LookAlike&) = delete;
    ~LookAlike()
    {
        // Its user may never run anything again that would clear it away.
        unlink(path_.c_str());
        const std::string folder = "/dev/shm/norv-" + std::to_string(otherUser);
        const std::string entry = folder + "/" + std::to_string(inode_) + "." +
                                  path_.substr(path_.find("sem."));
        unlink(entry.c_str());
        rmdir(folder.c_str());
    }

    bool isThere() const
    {
        return inode_ != 0;
    }

    void killMaker()
    {
        maker_.killAndWait();
    }

private:
    static constexpr uid_t otherUser = 65534;

    std::string path_;
    Gate ready_;
    ino_t inode_ = 0;
    Child maker_;
};
