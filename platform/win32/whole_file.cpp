#include "platform/whole_file.h"

#include "platform/path_kind.h"

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <random>
#include <utility>
#include <windows.h>
// After windows.h, whose types it uses.
#include <sddl.h>

namespace
{

std::error_code lastError()
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

// Closes the handle that it holds.
class File
{
public:
    explicit File(HANDLE handle)
        : handle_(handle)
    {
    }
    File(File&& other) noexcept
        : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE))
    {
    }
    File& operator=(File&&) = delete;
    ~File()
    {
        close();
    }
    void close()
    {
        if (handle_ != INVALID_HANDLE_VALUE)
            CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE));
    }
    HANDLE get() const
    {
        return handle_;
    }
    explicit operator bool() const
    {
        return handle_ != INVALID_HANDLE_VALUE;
    }

private:
    HANDLE handle_;
};

// Empty when the bytes are not UTF-8.
std::wstring wide(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    const int length =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(std::max(length, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, result.data(),
                        length);
    return result;
}

std::error_code writeAll(HANDLE handle, std::string_view bytes)
{
    while (!bytes.empty()) {
        constexpr std::size_t most = 1 << 20;
        DWORD written = 0;
        if (!WriteFile(handle, bytes.data(),
                       static_cast<DWORD>(std::min(bytes.size(), most)), &written,
                       nullptr))
            return lastError();
        bytes.remove_prefix(written);
    }
    return {};
}

// Reads into `content` from `size` on, to the end of the file or of the room.
std::error_code readOn(HANDLE handle, std::string& content, std::size_t& size)
{
    while (size < content.size()) {
        DWORD count = 0;
        if (!ReadFile(handle, content.data() + size,
                      static_cast<DWORD>(content.size() - size), &count, nullptr)) {
            // The end of a pipe whose writer has gone.
            if (GetLastError() == ERROR_BROKEN_PIPE)
                return {};
            return lastError();
        }
        if (count == 0)
            return {};
        size += count;
    }
    return std::make_error_code(std::errc::file_too_large);
}

std::error_code readAll(HANDLE handle, std::size_t limit, std::string& content)
{
    content.resize(limit + 1);
    std::size_t size = 0;
    const std::error_code error = readOn(handle, content, size);
    content.resize(size);
    return error;
}

constexpr DWORD everySharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

Kind kindOf(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        return Kind::folder;
    const File opened(CreateFileW(path.c_str(), GENERIC_WRITE, everySharing, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
    if (!opened)
        return attributes == INVALID_FILE_ATTRIBUTES ? Kind::none : Kind::file;
    return GetFileType(opened.get()) == FILE_TYPE_DISK ? Kind::file : Kind::other;
}

// Where the new file goes: symbolic links to a file are followed. Not every file system
// can name what they lead to.
std::wstring targetOf(const std::wstring& path)
{
    // No access is asked for: so the open is in nobody's way, and nobody is in its.
    const File opened(
        CreateFileW(path.c_str(), 0, everySharing, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!opened)
        return path;
    const DWORD room = GetFinalPathNameByHandleW(opened.get(), nullptr, 0, 0);
    std::wstring target(room, L'\0');
    const DWORD length = GetFinalPathNameByHandleW(opened.get(), target.data(), room, 0);
    if (length == 0 || length >= room)
        return path;
    target.resize(length);
    return target;
}

// Whether MoveFileExW can be expected to replace what has this name.
std::error_code tryToReplace(const std::wstring& target)
{
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return {};
    if (attributes & FILE_ATTRIBUTE_READONLY)
        return {ERROR_ACCESS_DENIED, std::system_category()};
    // Without sharing: a file that anybody has open is not replaced, whatever he shares.
    // A link that still stands here would itself be replaced.
    const File opened(CreateFileW(target.c_str(), DELETE, 0, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return opened ? std::error_code() : lastError();
}

std::wstring nameAside(const std::wstring& target)
{
    const std::size_t end = target.find_last_of(L"/\\:");
    const std::wstring folder =
        end == std::wstring::npos ? std::wstring() : target.substr(0, end + 1);
    std::random_device random;
    return folder + L".norvctl-" + std::to_wstring(random()) + std::to_wstring(random());
}

struct LocalRelease {
    void operator()(void* memory) const
    {
        LocalFree(memory);
    }
};

// The user of this process as text; empty after a failure. Rights for the name of "the
// owner" would not do: files of an elevated administrator belong to all administrators,
// and Wine does not know that name.
std::wstring userOfProcess()
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return {};
    const File ownedToken(token);
    struct {
        TOKEN_USER user;
        std::array<BYTE, SECURITY_MAX_SID_SIZE> room;
    } answer{};
    DWORD size = sizeof answer;
    wchar_t* text = nullptr;
    if (!GetTokenInformation(token, TokenUser, &answer, size, &size) ||
        !ConvertSidToStringSidW(answer.user.User.Sid, &text))
        return {};
    const std::unique_ptr<wchar_t, LocalRelease> ownedText(text);
    return text;
}

// A new file that belongs to the user of this process, and that nobody else may use.
File createOwn(const std::wstring& name)
{
    const std::wstring user = userOfProcess();
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (user.empty() || !ConvertStringSecurityDescriptorToSecurityDescriptorW(
                            (L"O:" + user + L"D:P(A;;FA;;;" + user + L")").c_str(),
                            SDDL_REVISION_1, &descriptor, nullptr))
        return File(INVALID_HANDLE_VALUE);
    const std::unique_ptr<void, LocalRelease> owned(descriptor);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
    return File(CreateFileW(name.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_DELETE,
                            &attributes, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Whether the file vanishes when its handle is closed, also by the end of the process.
// Some file systems cannot do this.
bool setVanishing(const File& file, bool vanishing)
{
    FILE_DISPOSITION_INFO disposition{static_cast<BOOLEAN>(vanishing)};
    return SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition,
                                      sizeof disposition) != FALSE;
}

// Leaves a whole file, or one that vanishes when it is closed, if that is possible.
std::error_code writeAside(const File& file, std::string_view content)
{
    const bool vanishing = setVanishing(file, true);
    if (const std::error_code error = writeAll(file.get(), content))
        return error;
    if (!FlushFileBuffers(file.get()))
        return lastError();
    if (vanishing && !setVanishing(file, false))
        return lastError();
    return {};
}

std::error_code replaceFile(const std::wstring& target, std::string_view content)
{
    const std::wstring name = nameAside(target);
    File file = createOwn(name);
    if (!file)
        return lastError();
    std::error_code error = writeAside(file, content);
    file.close();
    if (!error && !MoveFileExW(name.c_str(), target.c_str(),
                               MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        error = lastError();
    // Fails where the file has vanished.
    if (error)
        DeleteFileW(name.c_str());
    return error;
}

} // namespace

struct Device {
    File file;
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
        return readAll(GetStdHandle(STD_INPUT_HANDLE), limit, content);
    const std::wstring name = wide(path);
    const File file(CreateFileW(name.c_str(), GENERIC_READ, everySharing, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file ? readAll(file.get(), limit, content) : lastError();
}

std::error_code writeWhole(const std::string& path, std::string_view content)
{
    const std::wstring name = wide(path);
    const std::error_code refusal = refusalOf(kindOf(name));
    return refusal ? refusal : replaceFile(targetOf(name), content);
}

std::error_code tryToWrite(const std::string& path)
{
    const std::wstring given = wide(path);
    if (const std::error_code refusal = refusalOf(kindOf(given)))
        return refusal;
    const std::wstring target = targetOf(given);
    if (const std::error_code error = tryToReplace(target))
        return error;
    const std::wstring name = nameAside(target);
    File file = createOwn(name);
    if (!file)
        return lastError();
    if (setVanishing(file, true))
        return {};
    file.close();
    return DeleteFileW(name.c_str()) ? std::error_code() : lastError();
}

std::error_code openDevice(const std::string& path, OpenDevice& device)
{
    device.reset();
    // Opened once: the owner of a named pipe takes the next open for another client.
    File opened(CreateFileW(wide(path).c_str(), GENERIC_WRITE, everySharing, nullptr,
                            OPEN_EXISTING, 0, nullptr));
    // What cannot be opened is found out when a file is to be made.
    if (opened && GetFileType(opened.get()) != FILE_TYPE_DISK)
        device.reset(new Device{std::move(opened)});
    return {};
}

std::error_code writeDevice(Device& device, std::string_view bytes)
{
    return writeAll(device.file.get(), bytes);
}

std::error_code writeStandardOutput(std::string_view bytes)
{
    return writeAll(GetStdHandle(STD_OUTPUT_HANDLE), bytes);
}

std::error_code tryStandardOutput()
{
    // Not by a write of no bytes: a pipe's reader would take it for the end.
    SetLastError(NO_ERROR);
    if (GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_UNKNOWN &&
        GetLastError() != NO_ERROR)
        return lastError();
    return {};
}
