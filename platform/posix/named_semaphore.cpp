// A named semaphore with the lifetime of a kernel object, on a system whose
// named semaphores are files that stay until somebody removes them.
//
// The semaphore is the C library's own, in the file that sem_open("/" + name)
// opens, so any program reaches it. Behind it in the file stands a mark that
// tells a semaphore made here from one that a foreign program made; a foreign
// one is used as it is and never removed.
//
// Two bytes of a semaphore made here carry locks on open file descriptions,
// which the kernel drops with the process that held them:
//  - liveness: every handle holds it shared, from before the name appears. Who
//    can have it alone is the last holder, or looks at a name whose holders died;
//  - transition: held alone by whoever opens, releases, closes or removes, which
//    makes each of these one step between processes.
// A name is created by linking a finished file: nobody ever sees half of one.
#include "platform/named_semaphore.h"

#include "platform/posix/semaphore_names.h"
#include "platform/posix/uninterrupted.h"
#include "platform/posix/utf8.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <semaphore.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{

constexpr char directory[] = "/dev/shm";
constexpr char filePrefix[] = "sem.";
constexpr mode_t fileMode = 0600;

constexpr off_t transitionByte = 0;
constexpr off_t livenessByte = 1;

constexpr char ownMark[16] = "norv semaphore1";

struct SharedSemaphore {
    sem_t semaphore; // first: the C library maps the file from its start
    char mark[sizeof ownMark];
    std::int32_t maximum;
};

class Descriptor
{
public:
    explicit Descriptor(int number)
        : number_(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : number_(std::exchange(other.number_, -1))
    {
    }
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor()
    {
        if (number_ != -1)
            close(number_);
    }
    int get() const
    {
        return number_;
    }
    explicit operator bool() const
    {
        return number_ != -1;
    }

private:
    int number_;
};

std::size_t mappedSize(bool own)
{
    return own ? sizeof(SharedSemaphore) : sizeof(sem_t);
}

} // namespace

struct SemaphoreObject {
    Descriptor file;
    std::string path;
    SharedSemaphore* shared; // only its semaphore when the file is foreign
    bool own;
    int holders; // how many handles of this process it stands for
    SemaphoreObject* next;
};

namespace
{

// Guards what follows, and stands in for the transition lock between threads
// that share a handle: the kernel's locks do not tell those apart.
std::mutex handlesMutex;
SemaphoreObject* firstHandle = nullptr;
bool ending = false;

bool setLock(const Descriptor& file, off_t byte, short type, bool wait)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    const int command = wait ? F_OFD_SETLKW : F_OFD_SETLK;
    return uninterrupted([&] { return fcntl(file.get(), command, &lock); }) == 0;
}

bool holdsAlone(const Descriptor& file)
{
    return setLock(file, livenessByte, F_WRLCK, false);
}

class Transition
{
public:
    explicit Transition(const Descriptor& file)
        : file_(file)
        , held_(setLock(file, transitionByte, F_WRLCK, true))
    {
    }
    Transition(const Transition&) = delete;
    Transition& operator=(const Transition&) = delete;
    ~Transition()
    {
        if (held_)
            setLock(file_, transitionByte, F_UNLCK, false);
    }
    explicit operator bool() const
    {
        return held_;
    }

private:
    const Descriptor& file_;
    bool held_;
};

// The file of a semaphore, or an empty path when the name cannot be one.
std::string pathOf(const wchar_t* name)
{
    const std::string bytes = encodeUtf8(name);
    if (bytes.empty() || bytes.find('/') != std::string::npos)
        return {};
    return std::string(directory) + "/" + filePrefix + bytes;
}

Descriptor openFile(const std::string& path)
{
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    return Descriptor(uninterrupted([&] { return open(path.c_str(), flags); }));
}

bool isRegularOf(const Descriptor& file, off_t smallest)
{
    struct stat status = {};
    return fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size >= smallest;
}

bool isOwn(const Descriptor& file)
{
    char mark[sizeof ownMark] = {};
    const auto readMark = [&] {
        return pread(file.get(), mark, sizeof mark, offsetof(SharedSemaphore, mark));
    };
    return isRegularOf(file, sizeof(SharedSemaphore)) &&
           uninterrupted(readMark) == static_cast<ssize_t>(sizeof mark) &&
           std::memcmp(mark, ownMark, sizeof mark) == 0;
}

// Whether the name still leads to this file: it may have been removed, or made
// anew, since the file was opened.
bool isNamed(const std::string& path, const Descriptor& file)
{
    struct stat named = {};
    struct stat opened = {};
    return lstat(path.c_str(), &named) == 0 && fstat(file.get(), &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

// A handle for a file whose liveness lock, when it is one of ours, is held.
// Null, and the file closed, when memory is short.
SemaphoreObject* makeHandle(Descriptor file, const std::string& path, bool own)
{
    std::unique_ptr<SemaphoreObject> handle(
        new SemaphoreObject{std::move(file), path, nullptr, own, 1, firstHandle});
    void* memory = mmap(nullptr, mappedSize(own), PROT_READ | PROT_WRITE, MAP_SHARED,
                        handle->file.get(), 0);
    if (memory == MAP_FAILED)
        return nullptr;
    handle->shared = static_cast<SharedSemaphore*>(memory);
    firstHandle = handle.release();
    return firstHandle;
}

SemaphoreObject* findHeld(const std::string& path)
{
    SemaphoreObject* handle = firstHandle;
    while (handle && handle->path != path)
        handle = handle->next;
    return handle;
}

void dropHandle(SemaphoreObject* semaphore)
{
    SemaphoreObject** link = &firstHandle;
    while (*link != semaphore)
        link = &(*link)->next;
    *link = semaphore->next;
    munmap(semaphore->shared, mappedSize(semaphore->own));
    delete semaphore;
}

enum class Lookup { found, missing, unusable };

// Opens the semaphore at `path`. A name that its holders left behind by dying
// is removed on the way, and missing.
std::pair<Lookup, SemaphoreObject*> lookUp(const std::string& path)
{
    for (;;) {
        Descriptor file = openFile(path);
        if (!file)
            return {errno == ENOENT ? Lookup::missing : Lookup::unusable, nullptr};
        if (!isRegularOf(file, sizeof(sem_t)))
            return {Lookup::unusable, nullptr};

        const bool own = isOwn(file);
        if (own) {
            const Transition transition(file);
            if (!transition)
                return {Lookup::unusable, nullptr};
            if (!isNamed(path, file))
                continue;
            if (holdsAlone(file)) {
                if (unlink(path.c_str()) != 0)
                    return {Lookup::unusable, nullptr};
                continue;
            }
            if (!setLock(file, livenessByte, F_RDLCK, false))
                return {Lookup::unusable, nullptr};
        }
        SemaphoreObject* handle = makeHandle(std::move(file), path, own);
        return {handle ? Lookup::found : Lookup::unusable, handle};
    }
}

// A finished semaphore in a file without a name, its liveness lock held. An
// empty descriptor on failure.
Descriptor makeNameless(int count, int maximum)
{
    Descriptor file(uninterrupted(
        [] { return open(directory, O_TMPFILE | O_RDWR | O_CLOEXEC, fileMode); }));
    SharedSemaphore image{};
    std::memcpy(image.mark, ownMark, sizeof ownMark);
    image.maximum = maximum;
    const auto setMode = [&] {
        return fchmod(file.get(), fileMode);
    };
    const auto writeImage = [&] {
        return pwrite(file.get(), &image, sizeof image, 0);
    };
    // The mode again: the one given to open is cut by the process's mask. Written,
    // not mapped: on a full file system a write fails, a touched page kills.
    if (!file || uninterrupted(setMode) != 0 ||
        sem_init(&image.semaphore, 1, static_cast<unsigned int>(count)) != 0 ||
        uninterrupted(writeImage) != static_cast<ssize_t>(sizeof image) ||
        !setLock(file, livenessByte, F_RDLCK, false))
        return Descriptor(-1);
    return file;
}

bool giveName(const Descriptor& file, const std::string& path)
{
    const std::string self = "/proc/self/fd/" + std::to_string(file.get());
    return linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// Removes the name when all its holders died. Never waits.
void removeIfAbandoned(const std::string& path)
{
    const Descriptor file = openFile(path);
    if (file && isOwn(file) && setLock(file, transitionByte, F_WRLCK, false) &&
        isNamed(path, file) && holdsAlone(file))
        unlink(path.c_str());
}

// Clears away what killed runs left behind under names that may never be used
// again: their names would fill the memory otherwise.
void removeAbandonedNames()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory), closedir);
    if (!entries)
        return;
    while (const dirent* entry = readdir(entries.get())) {
        struct stat status = {};
        if (std::strncmp(entry->d_name, filePrefix, sizeof filePrefix - 1) == 0 &&
            fstatat(dirfd(entries.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) ==
                0 &&
            S_ISREG(status.st_mode) && status.st_uid == geteuid())
            removeIfAbandoned(std::string(directory) + "/" + entry->d_name);
    }
}

SemaphoreObject* createAt(const std::string& path, int count, int maximum)
{
    removeAbandonedNames();
    for (;;) {
        const auto [outcome, existing] = lookUp(path);
        if (outcome != Lookup::missing)
            return existing;

        Descriptor file = makeNameless(count, maximum);
        if (!file)
            return nullptr;
        SemaphoreObject* handle = makeHandle(std::move(file), path, true);
        if (!handle || giveName(handle->file, path))
            return handle;
        const bool taken = errno == EEXIST;
        dropHandle(handle);
        if (!taken)
            return nullptr;
    }
}

// Ends the handle's part in keeping the name alive, and the name with it when
// it was the last.
void giveUpName(const SemaphoreObject& semaphore)
{
    if (!semaphore.own)
        return;
    const Transition transition(semaphore.file);
    if (holdsAlone(semaphore.file) && isNamed(semaphore.path, semaphore.file))
        unlink(semaphore.path.c_str());
    setLock(semaphore.file, livenessByte, F_UNLCK, false);
}

} // namespace

SemaphoreHandle createNamedSemaphore(const wchar_t* name, int count, int maximum)
{
    try {
        const std::string path = pathOf(name);
        const std::scoped_lock lock(handlesMutex);
        return path.empty() || ending ? nullptr : createAt(path, count, maximum);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

SemaphoreHandle openNamedSemaphore(const wchar_t* name)
{
    try {
        const std::string path = pathOf(name);
        const std::scoped_lock lock(handlesMutex);
        if (path.empty() || ending)
            return nullptr;
        // What is held exists, also when a foreign hand took its name away meanwhile;
        // a search that could not release its own semaphore would never end.
        SemaphoreObject* held = findHeld(path);
        if (!held)
            return lookUp(path).second;
        ++held->holders;
        return held;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool releaseSemaphore(SemaphoreHandle semaphore)
{
    sem_t* counter = &semaphore->shared->semaphore;
    if (!semaphore->own)
        return sem_post(counter) == 0;

    const std::scoped_lock lock(handlesMutex);
    const Transition transition(semaphore->file);
    int count = 0;
    return sem_getvalue(counter, &count) == 0 && count < semaphore->shared->maximum &&
           sem_post(counter) == 0;
}

bool waitForSemaphore(SemaphoreHandle semaphore)
{
    // In slices: a process that is woken, and killed before it takes the count, takes
    // the wake-up with it, and nobody else would ever be woken for that count.
    constexpr time_t sliceSeconds = 1;
    int result = 0;
    do {
        timespec end = {};
        clock_gettime(CLOCK_MONOTONIC, &end);
        end.tv_sec += sliceSeconds;
        result = sem_clockwait(&semaphore->shared->semaphore, CLOCK_MONOTONIC, &end);
    } while (result == -1 && (errno == EINTR || errno == ETIMEDOUT));
    return result == 0;
}

void closeSemaphore(SemaphoreHandle semaphore)
{
    const std::scoped_lock lock(handlesMutex);
    if (--semaphore->holders > 0)
        return;
    giveUpName(*semaphore);
    dropHandle(semaphore);
}

void giveUpSemaphoreNames()
{
    const std::scoped_lock lock(handlesMutex);
    ending = true;
    for (const SemaphoreObject* handle = firstHandle; handle; handle = handle->next)
        giveUpName(*handle);
}
