#include "platform/whole_file.h"

#include "platform/path_kind.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/uninterrupted.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

// Waits until a descriptor that was opened not to wait is ready.
void waitUntilReady(int number, short events)
{
    pollfd waited{number, events, 0};
    poll(&waited, 1, -1);
}

std::error_code writeAll(int number, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written =
            uninterrupted([&] { return write(number, bytes.data(), bytes.size()); });
        if (written == -1 && errno != EAGAIN)
            return lastError();
        if (written == -1)
            waitUntilReady(number, POLLOUT);
        else
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

// Reads into `content` from `size` on, to the end of the file or of the room.
std::error_code readOn(int number, std::string& content, std::size_t& size)
{
    while (size < content.size()) {
        const ssize_t count = uninterrupted(
            [&] { return read(number, content.data() + size, content.size() - size); });
        if (count == 0)
            return {};
        if (count > 0)
            size += static_cast<std::size_t>(count);
        else if (errno == EAGAIN)
            waitUntilReady(number, POLLIN);
        else
            return lastError();
    }
    return std::make_error_code(std::errc::file_too_large);
}

std::error_code readAll(int number, std::size_t limit, std::string& content)
{
    content.resize(limit + 1);
    std::size_t size = 0;
    const std::error_code error = readOn(number, content, size);
    content.resize(size);
    return error;
}

Descriptor openFile(const std::string& path, int flags)
{
    constexpr mode_t mode = S_IRUSR | S_IWUSR;
    return Descriptor(
        uninterrupted([&] { return open(path.c_str(), flags | O_CLOEXEC, mode); }));
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// Where the new file goes: symbolic links to a file are followed.
std::string targetOf(const std::string& path)
{
    const std::unique_ptr<char, decltype([](char* name) { std::free(name); })> real(
        realpath(path.c_str(), nullptr));
    return real ? real.get() : path;
}

// A new name in the folder of `target`. Nobody has it, except by a chance of 2^-64.
std::string nameAside(const std::string& target)
{
    std::uint64_t random = 0;
    while (getrandom(&random, sizeof random, 0) != sizeof random) {
    }
    return folderOf(target) + "/.norvctl-" + std::to_string(random);
}

// A file aside, in the folder of the target. Its name is removed with the record.
struct FileAside {
    Descriptor descriptor;
    std::string name; // empty: it has none

    FileAside(Descriptor opened, std::string named)
        : descriptor(std::move(opened))
        , name(std::move(named))
    {
    }
    FileAside(FileAside&& other) noexcept
        : descriptor(std::move(other.descriptor))
        , name(std::exchange(other.name, {}))
    {
    }
    FileAside& operator=(FileAside&&) = delete;
    ~FileAside()
    {
        if (!name.empty())
            unlink(name.c_str());
    }
};

// A file without a name vanishes with the process. Not all file systems have such files.
FileAside makeUnnamed(const std::string& target)
{
    return {openFile(folderOf(target), O_TMPFILE | O_WRONLY), {}};
}

FileAside makeNamed(const std::string& target)
{
    std::string name = nameAside(target);
    Descriptor descriptor = openFile(name, O_WRONLY | O_CREAT | O_EXCL);
    if (!descriptor)
        name.clear();
    return {std::move(descriptor), std::move(name)};
}

std::error_code fill(const FileAside& file, std::string_view content)
{
    const int number = file.descriptor.get();
    // Also under a mask that takes rights away.
    if (fchmod(number, S_IRUSR | S_IWUSR) == -1)
        return lastError();
    if (const std::error_code error = writeAll(number, content))
        return error;
    if (fsync(number) == -1)
        return lastError();
    return {};
}

bool linkUnnamed(const FileAside& file, const std::string& name)
{
    const std::string source = "/proc/self/fd/" + std::to_string(file.descriptor.get());
    return linkat(AT_FDCWD, source.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) ==
           0;
}

std::error_code takeName(FileAside& file, const std::string& target)
{
    if (rename(file.name.c_str(), target.c_str()) == -1)
        return lastError();
    file.name.clear();
    return {};
}

// Gives the file its name. `unsupported` is set when the system cannot name such a file.
std::error_code nameUnnamed(FileAside& file, const std::string& target, bool& unsupported)
{
    if (linkUnnamed(file, target))
        return {};
    unsupported = errno != EEXIST;
    if (unsupported)
        return lastError();
    std::string name = nameAside(target);
    if (!linkUnnamed(file, name))
        return lastError();
    file.name = std::move(name);
    return takeName(file, target);
}

std::error_code replaceFile(const std::string& target, std::string_view content)
{
    if (FileAside file = makeUnnamed(target); file.descriptor) {
        if (const std::error_code error = fill(file, content))
            return error;
        bool unsupported = false;
        const std::error_code error = nameUnnamed(file, target, unsupported);
        if (!unsupported)
            return error;
    }
    FileAside file = makeNamed(target);
    if (!file.descriptor)
        return lastError();
    if (const std::error_code error = fill(file, content))
        return error;
    return takeName(file, target);
}

// In a folder with the sticky bit, such as /tmp, a file is only replaced by its owner, by
// the folder's owner or by root.
bool mayReplace(const std::string& target)
{
    struct stat file {
    };
    struct stat folder {
    };
    const uid_t user = geteuid();
    if (user == 0 || stat(target.c_str(), &file) == -1 ||
        stat(folderOf(target).c_str(), &folder) == -1)
        return true;
    return (folder.st_mode & S_ISVTX) == 0 || file.st_uid == user ||
           folder.st_uid == user;
}

Kind kindOf(const std::string& path)
{
    struct stat status {
    };
    if (stat(path.c_str(), &status) == -1)
        return Kind::none;
    if (S_ISREG(status.st_mode))
        return Kind::file;
    return S_ISDIR(status.st_mode) ? Kind::folder : Kind::other;
}

} // namespace

struct Device {
    Descriptor descriptor;
};

void CloseDevice::operator()(Device* device) const
{
    delete device;
}

std::error_code readWhole(const std::string& path, std::size_t limit,
                          std::string& content)
{
    content.clear();
    if (path.empty())
        return readAll(STDIN_FILENO, limit, content);
    const Descriptor file = openFile(path, O_RDONLY | O_NOCTTY);
    return file ? readAll(file.get(), limit, content) : lastError();
}

std::error_code writeWhole(const std::string& path, std::string_view content)
{
    const std::error_code refusal = refusalOf(kindOf(path));
    return refusal ? refusal : replaceFile(targetOf(path), content);
}

std::error_code tryToWrite(const std::string& path)
{
    if (const std::error_code refusal = refusalOf(kindOf(path)))
        return refusal;
    const std::string target = targetOf(path);
    if (!mayReplace(target))
        return std::make_error_code(std::errc::operation_not_permitted);
    if (makeUnnamed(target).descriptor || makeNamed(target).descriptor)
        return {};
    return lastError();
}

std::error_code openDevice(const std::string& path, OpenDevice& device)
{
    device.reset();
    if (kindOf(path) != Kind::other)
        return {};
    Descriptor opened = openFile(path, O_WRONLY | O_NOCTTY | O_NONBLOCK);
    if (!opened)
        return lastError();
    device.reset(new Device{std::move(opened)});
    return {};
}

std::error_code writeDevice(Device& device, std::string_view bytes)
{
    return writeAll(device.descriptor.get(), bytes);
}

std::error_code writeStandardOutput(std::string_view bytes)
{
    return writeAll(STDOUT_FILENO, bytes);
}

std::error_code tryStandardOutput()
{
    const ssize_t written = uninterrupted([] { return write(STDOUT_FILENO, "", 0); });
    return written == -1 ? lastError() : std::error_code();
}
