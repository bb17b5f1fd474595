#include "ctl/norv_path.h"

#include "platform/process.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <uv.h>

namespace
{

namespace fs = std::filesystem;

bool canBeStarted(const fs::path& path)
{
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored))
        return false;
    constexpr int executable = 1; // X_OK
    uv_fs_t request{};
    const int result =
        uv_fs_access(nullptr, &request, path.string().c_str(), executable, nullptr);
    uv_fs_req_cleanup(&request);
    return result == 0;
}

fs::path ownPath()
{
    std::array<char, 4096> path{};
    std::size_t size = path.size();
    if (uv_exepath(path.data(), &size) != 0)
        return {};
    return std::string(path.data(), size);
}

// In UTF-8 on every system; empty when there is none.
std::string environmentPath()
{
    std::string path;
    std::size_t size = 1;
    int result = UV_ENOBUFS;
    while (result == UV_ENOBUFS) {
        path.resize(size);
        result = uv_os_getenv("PATH", path.data(), &size);
    }
    path.resize(result == 0 ? size : 0);
    return path;
}

} // namespace

std::string findNorv(const std::string& asked)
{
    if (!asked.empty())
        return canBeStarted(asked) ? asked : std::string();
    const fs::path own = ownPath();
    const std::string name = std::string("norv") + programEnding;
    if (!own.empty() && canBeStarted(own.parent_path() / name))
        return (own.parent_path() / name).string();
    const std::string path = environmentPath();
    std::string_view folders = path;
    constexpr char separator = fs::path::preferred_separator == '/' ? ':' : ';';
    while (!folders.empty()) {
        const std::string_view folder = folders.substr(0, folders.find(separator));
        folders.remove_prefix(std::min(folder.size() + 1, folders.size()));
        const fs::path candidate = fs::path(folder) / name;
        if (!folder.empty() && canBeStarted(candidate))
            return candidate.string();
    }
    return {};
}

std::string whyNoNorv(const std::string& asked)
{
    if (asked.empty())
        return "norv is neither beside norvctl nor on the path; name it with --norv PATH";
    return "there is no program " + asked + "; --norv PATH must be that of norv";
}
