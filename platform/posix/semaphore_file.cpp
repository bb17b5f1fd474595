#include "platform/posix/semaphore_file.h"

#include "platform/posix/file_lock.h"
#include "platform/posix/tries.h"
#include "platform/posix/uninterrupted.h"
#include "platform/posix/utf8.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <sys/mman.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace
{

constexpr char directory[] = "/dev/shm/";
constexpr char filePrefix[] = "sem.";
constexpr std::size_t longestFileName = sizeof SharedSemaphore::fileName - 1;
constexpr mode_t fileMode = 0600;
constexpr mode_t folderMode = 0700;
constexpr mode_t othersBits = 0077;

constexpr off_t releaseByte = 0;
constexpr off_t livenessByte = 1;

// Its digit is the version of the layout and of the locks' meaning: runs that
// disagree on them treat each other's files as foreign.
constexpr char ownMark[sizeof SharedSemaphore::mark] = "norv semaphore2";

// Whether the holder of a byte's lock has most likely been stopped: the lock could not be
// had in time. One flag a byte, since the two may have different holders.
bool livenessIsStuck = false;
bool releaseIsStuck = false;

std::chrono::milliseconds patience(bool isStuck)
{
    constexpr std::chrono::milliseconds longestWait{500};
    return isStuck ? std::chrono::milliseconds{0} : longestWait;
}

// Long enough for a caller to start a killed run again.
constexpr std::int64_t secondsKept = 60;

std::int64_t now()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec;
}

std::string fileNameOf(const std::string& path)
{
    return path.substr(sizeof directory - 1);
}

// A user namespace shows every user that it does not know as this one: the owner of a
// file and the user of a process alike. Nobody can then see whether the two are the same.
constexpr uid_t unknownUser = 65534;
constexpr mode_t othersMayWrite = 0022;

bool isOfAnotherUser(const struct stat& status)
{
    return status.st_uid != geteuid() ||
           (status.st_uid == unknownUser && (status.st_mode & othersMayWrite) != 0);
}

bool isOwn(const Descriptor& file, const struct stat& status)
{
    char mark[sizeof ownMark] = {};
    const auto readMark = [&] {
        return pread(file.get(), mark, sizeof mark, offsetof(SharedSemaphore, mark));
    };
    return status.st_uid == geteuid() && (status.st_mode & othersBits) == 0 &&
           status.st_size >= static_cast<off_t>(sizeof(SharedSemaphore)) &&
           uninterrupted(readMark) == static_cast<ssize_t>(sizeof mark) &&
           std::memcmp(mark, ownMark, sizeof mark) == 0;
}

enum class Name : std::uint8_t { ofFile, gone, unknown };

// Whether the name still leads to this file: it may have been removed, or made anew,
// since the file was opened.
Name lookAtName(const std::string& path, const Descriptor& file)
{
    struct stat named = {};
    struct stat opened = {};
    if (lstat(path.c_str(), &named) != 0)
        return errno == ENOENT ? Name::gone : Name::unknown;
    if (fstat(file.get(), &opened) != 0)
        return Name::unknown;
    const bool same = named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
    return same ? Name::ofFile : Name::gone;
}

bool isNamed(const SemaphoreFile& file)
{
    return lookAtName(file.path, file.descriptor) == Name::ofFile;
}

Descriptor openFile(const std::string& path)
{
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    return Descriptor(uninterrupted([&] { return open(path.c_str(), flags); }));
}

// Null when the system has no room for the mapping.
std::unique_ptr<SharedSemaphore, Unmap> mapFile(const Descriptor& file, bool own)
{
    const std::size_t size = own ? sizeof(SharedSemaphore) : sizeof(sem_t);
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    return {memory == MAP_FAILED ? nullptr : static_cast<SharedSemaphore*>(memory),
            Unmap{size}};
}

// The folder with a second link to each own file of the user.
std::string indexPath()
{
    return std::string(directory) + "norv-" + std::to_string(geteuid());
}

// The number makes the entry unique; the name, cut to fit, is for people.
std::string indexEntry(const std::string& index, const std::string& path, ino_t inode)
{
    constexpr std::size_t longestName = 200;
    return index + "/" + std::to_string(inode) + "." +
           fileNameOf(path).substr(0, longestName);
}

// An open file that owner and mark show to be our own, with its mapping. Null when the
// system has no room for the mapping.
OwnedFile ownFile(Descriptor descriptor, const std::string& path, ino_t inode)
{
    auto shared = mapFile(descriptor, true);
    if (!shared)
        return nullptr;
    std::string index = indexPath();
    std::string entry = indexEntry(index, path, inode);
    return std::make_unique<SemaphoreFile>(
        SemaphoreFile{std::move(descriptor), path, std::move(index), std::move(entry),
                      std::move(shared), true, false});
}

OwnedFile foreignFile(Descriptor descriptor, const std::string& path,
                      const struct stat& status)
{
    auto shared = mapFile(descriptor, false);
    if (!shared)
        return nullptr;
    return std::make_unique<SemaphoreFile>(SemaphoreFile{std::move(descriptor),
                                                         path,
                                                         {},
                                                         {},
                                                         std::move(shared),
                                                         false,
                                                         isOfAnotherUser(status)});
}

enum class Lookup : std::uint8_t { found, missing, unusable };

// What stands at `path`, opened and mapped, without a lock.
std::pair<Lookup, OwnedFile> lookUp(const std::string& path)
{
    Descriptor file = openFile(path);
    if (!file)
        return {errno == ENOENT ? Lookup::missing : Lookup::unusable, nullptr};
    struct stat status = {};
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size < static_cast<off_t>(sizeof(sem_t)))
        return {Lookup::unusable, nullptr};

    OwnedFile found = isOwn(file, status) ? ownFile(std::move(file), path, status.st_ino)
                                          : foreignFile(std::move(file), path, status);
    const Lookup outcome = found ? Lookup::found : Lookup::unusable;
    return {outcome, std::move(found)};
    // The analyzer loses an owner that is moved into a pair.
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

// changed: the name was removed or leads to another file. heldAlone: another process has
// the exclusive lock, and is about to take the file over or to remove it.
enum class Joining : std::uint8_t { joined, changed, heldAlone, abandoned, failed };

Joining joinedAs(Name name)
{
    if (name == Name::unknown)
        return Joining::failed;
    return name == Name::ofFile ? Joining::joined : Joining::changed;
}

// Becomes a holder of the file.
Joining join(const SemaphoreFile& file)
{
    switch (tryLock(file.descriptor, livenessByte, LockKind::shared)) {
    case LockOutcome::held:
        return joinedAs(lookAtName(file.path, file.descriptor));
    case LockOutcome::taken:
        return Joining::heldAlone;
    default:
        return Joining::failed;
    }
}

Joining joinHolders(const SemaphoreFile& file)
{
    switch (lookAtLock(file.descriptor, livenessByte)) {
    case LockOutcome::held:
        return Joining::abandoned;
    case LockOutcome::taken:
        return join(file);
    default:
        return Joining::failed;
    }
}

// Sets the count and the maximum of an abandoned semaphore anew. A program that is not
// one of ours may have it open: what it posts from now on counts.
void reset(SharedSemaphore& shared, int count, int maximum)
{
    // At most as many times as the count was at the beginning: a program that posts again
    // and again must not keep this loop running.
    int left = 0;
    sem_getvalue(&shared.semaphore, &left);
    while (left-- > 0 &&
           uninterrupted([&] { return sem_trywait(&shared.semaphore); }) == 0)
        continue;
    shared.maximum = maximum;
    shared.lastWait = now();
    for (int i = 0; i < count; ++i)
        sem_post(&shared.semaphore);
}

// Takes the file over when nobody holds it, else joins its holders.
Joining takeOverOrJoin(const SemaphoreFile& file, int count, int maximum)
{
    const LockOutcome alone = tryLock(file.descriptor, livenessByte, LockKind::exclusive);
    if (alone == LockOutcome::failed)
        return Joining::failed;
    if (alone == LockOutcome::held && isNamed(file))
        reset(*file.shared, count, maximum);
    return join(file);
}

// Another user may have made the folder first. Its owner cannot change after this look,
// since the folder around it lets users remove only what they own.
bool isIndexOurs(const std::string& index)
{
    struct stat status = {};
    return lstat(index.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & othersBits) == 0;
}

// Throws nothing: an exception after the first of two links would leave that one there.
bool linkTo(const Descriptor& file, const std::string& path)
{
    char self[32] = "/proc/self/fd/";
    std::to_chars(self + std::strlen(self), std::end(self) - 1, file.get());
    return linkat(AT_FDCWD, self, AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// A file without an entry works as well, but nobody will clear it away.
void enterIndex(const SemaphoreFile& file)
{
    // The run that leaves last removes the folder, perhaps between two of these steps.
    constexpr int mostTries = 8;
    for (int i = 0; i < mostTries; ++i) {
        mkdir(file.index.c_str(), folderMode);
        if (isIndexOurs(file.index) &&
            (linkTo(file.descriptor, file.indexEntry) || errno != ENOENT))
            return;
    }
}

void leaveIndex(const SemaphoreFile& file)
{
    if (!isIndexOurs(file.index))
        return;
    unlink(file.indexEntry.c_str());
    rmdir(file.index.c_str()); // not while it holds anything
}

// Removes the names of a file whose liveness this process has locked exclusively. The
// second link stays as long as the first one, so that a later run can try again.
void removeNames(const SemaphoreFile& file)
{
    const Name name = lookAtName(file.path, file.descriptor);
    if (name == Name::gone || (name == Name::ofFile && unlink(file.path.c_str()) == 0))
        leaveIndex(file);
}

void removeIfAbandoned(const std::string& entry, const std::string& wanted)
{
    const OwnedFile file = lookUp(entry).second;
    if (!file || !file->own)
        return;
    const char* name = file->shared->fileName;
    file->path = directory + std::string(name, strnlen(name, longestFileName));
    file->indexEntry = entry;
    // These conditions are checked before the lock is taken, so that it is taken only for
    // a removal. A last holder that meets this lock leaves its name, so whoever takes the
    // lock must remove the name.
    if (now() - file->shared->lastWait < secondsKept ||
        (file->path == wanted && isNamed(*file)))
        return;
    if (tryLock(file->descriptor, livenessByte, LockKind::exclusive) == LockOutcome::held)
        removeNames(*file);
}

// Without this, killed runs whose names are never used again would fill the memory.
// Leaves semaphores that a caller may come back for, and the one at `wanted`, which is
// about to be taken over.
void removeAbandonedFiles(const std::string& wanted)
{
    const std::string index = indexPath();
    if (!isIndexOurs(index))
        return;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(index.c_str()), closedir);
    if (!entries)
        return;
    while (const dirent* entry = readdir(entries.get()))
        if (entry->d_name[0] != '.')
            removeIfAbandoned(index + "/" + entry->d_name, wanted);
}

// A finished semaphore in a file without a name, its liveness held. Empty on failure.
Descriptor makeNameless(const std::string& path, int count, int maximum)
{
    Descriptor file(uninterrupted(
        [] { return open(directory, O_TMPFILE | O_RDWR | O_CLOEXEC, fileMode); }));
    SharedSemaphore image{};
    std::memcpy(image.mark, ownMark, sizeof ownMark);
    image.maximum = maximum;
    image.lastWait = now();
    fileNameOf(path).copy(image.fileName, longestFileName);
    const auto setMode = [&] {
        return fchmod(file.get(), fileMode);
    };
    const auto writeImage = [&] {
        return pwrite(file.get(), &image, sizeof image, 0);
    };
    // The mode is set again, since the process's mask cuts the one given to open. The
    // image is written and not mapped: on a full file system a write fails, but touching
    // a mapped page ends the process.
    if (!file || uninterrupted(setMode) != 0 ||
        sem_init(&image.semaphore, 1, static_cast<unsigned int>(count)) != 0 ||
        uninterrupted(writeImage) != static_cast<ssize_t>(sizeof image) ||
        tryLock(file, livenessByte, LockKind::shared) != LockOutcome::held)
        return Descriptor(-1);
    return file;
}

// Makes the semaphore and names it last, so that nobody sees half of one. When another
// process has created this name meanwhile: no file, and `missing`, so that the caller
// looks again.
std::pair<Lookup, OwnedFile> makeFile(const std::string& path, int count, int maximum)
{
    Descriptor descriptor = makeNameless(path, count, maximum);
    struct stat status = {};
    if (!descriptor || fstat(descriptor.get(), &status) != 0)
        return {Lookup::unusable, nullptr};
    OwnedFile file = ownFile(std::move(descriptor), path, status.st_ino);
    if (!file)
        return {Lookup::unusable, nullptr};
    enterIndex(*file);
    if (linkTo(file->descriptor, path))
        return {Lookup::found, std::move(file)};
    const bool taken = errno == EEXIST;
    leaveIndex(*file);
    return {taken ? Lookup::missing : Lookup::unusable, nullptr};
}

// One try to get the semaphore at a path. `waiting`: another try may succeed; the file,
// if there is one, is locked exclusively by another process.
enum class Step : std::uint8_t { done, waiting };
using Found = std::pair<Step, OwnedFile>;

Found joinWhatIsThere(OwnedFile file, Joining joining)
{
    switch (joining) {
    case Joining::joined:
        return {Step::done, std::move(file)};
    case Joining::changed:
        return {Step::waiting, nullptr};
    case Joining::heldAlone:
        return {Step::waiting, std::move(file)};
    default:
        return {Step::done, nullptr};
    }
}

Found tryToCreate(const std::string& path, int count, int maximum)
{
    auto [outcome, file] = lookUp(path);
    if (outcome == Lookup::missing) {
        std::tie(outcome, file) = makeFile(path, count, maximum);
        return {outcome == Lookup::missing ? Step::waiting : Step::done, std::move(file)};
    }
    if (!file || !file->own)
        return {Step::done, std::move(file)};
    const Joining joining = takeOverOrJoin(*file, count, maximum);
    return joinWhatIsThere(std::move(file), joining);
}

Found tryToOpen(const std::string& path)
{
    OwnedFile file = lookUp(path).second;
    if (!file || !file->own)
        return {Step::done, std::move(file)};
    const Joining joining = joinHolders(*file);
    return joinWhatIsThere(std::move(file), joining);
}

// Tries until a try is done, or until one process has kept the file locked for too long.
// A name that was made or removed meanwhile, or leads to another file, shows that nobody
// is stopped: the time starts again.
template <typename Try>
OwnedFile tryPatiently(Try tryOnce)
{
    Tries tries(patience(livenessIsStuck));
    Found found = tryOnce();
    while (found.first == Step::waiting) {
        if (!found.second)
            tries = Tries(patience(livenessIsStuck));
        if (!tries.another() && found.second)
            break;
        found = tryOnce();
    }
    auto& [step, file] = found;
    livenessIsStuck = step == Step::waiting;
    if (livenessIsStuck)
        file->own = false;
    return std::move(file);
}

} // namespace

void Unmap::operator()(SharedSemaphore* shared) const
{
    munmap(shared, size);
}

std::string semaphorePath(const wchar_t* name)
{
    const std::string bytes = encodeUtf8(name);
    constexpr std::size_t longest = longestFileName - (sizeof filePrefix - 1);
    if (bytes.empty() || bytes.size() > longest || bytes.find('/') != std::string::npos)
        return {};
    return std::string(directory) + filePrefix + bytes;
}

OwnedFile createSemaphoreFile(const std::string& path, int count, int maximum)
{
    removeAbandonedFiles(path);
    return tryPatiently([&] { return tryToCreate(path, count, maximum); });
}

OwnedFile openSemaphoreFile(const std::string& path)
{
    return tryPatiently([&] { return tryToOpen(path); });
}

void noteWait(const SemaphoreFile& file, std::int64_t second)
{
    if (file.own)
        file.shared->lastWait = second;
}

bool raiseCount(const SemaphoreFile& file)
{
    sem_t* counter = &file.shared->semaphore;
    if (!file.own)
        return sem_post(counter) == 0;

    const LockOutcome outcome = lockWithin(file.descriptor, releaseByte,
                                           LockKind::exclusive, patience(releaseIsStuck));
    releaseIsStuck = outcome == LockOutcome::taken;
    int count = 0;
    const bool raised = sem_getvalue(counter, &count) == 0 &&
                        count < file.shared->maximum && sem_post(counter) == 0;
    if (outcome == LockOutcome::held)
        unlock(file.descriptor, releaseByte);
    return raised;
}

void giveUpFile(const SemaphoreFile& file)
{
    if (!file.own)
        return;
    // The shared lock goes first. Of two last holders that each still had theirs, neither
    // would get the exclusive one, and neither would remove the name.
    unlock(file.descriptor, livenessByte);
    if (tryLock(file.descriptor, livenessByte, LockKind::exclusive) != LockOutcome::held)
        return;
    removeNames(file);
    unlock(file.descriptor, livenessByte);
}
