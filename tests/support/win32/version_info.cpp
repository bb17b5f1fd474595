#include "tests/support/win32/version_info.h"

#include <vector>
#include <windows.h>

namespace
{

std::vector<char> versionOf(const std::string& path)
{
    std::vector<char> info(GetFileVersionInfoSizeA(path.c_str(), nullptr));
    if (!GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(info.size()),
                             info.data()))
        info.clear();
    return info;
}

} // namespace

std::string versionText(const std::string& path, const std::string& name)
{
    const std::vector<char> info = versionOf(path);
    const std::string block = "\\StringFileInfo\\040904b0\\" + name;
    void* text = nullptr;
    UINT length = 0;
    if (info.empty() || !VerQueryValueA(info.data(), block.c_str(), &text, &length))
        return {};
    return static_cast<const char*>(text);
}

std::string versionNumber(const std::string& path)
{
    const std::vector<char> info = versionOf(path);
    void* fixed = nullptr;
    UINT length = 0;
    if (info.empty() || !VerQueryValueA(info.data(), "\\", &fixed, &length))
        return {};
    const auto& version = *static_cast<const VS_FIXEDFILEINFO*>(fixed);
    return std::to_string(HIWORD(version.dwFileVersionMS)) + "." +
           std::to_string(LOWORD(version.dwFileVersionMS)) + "." +
           std::to_string(HIWORD(version.dwFileVersionLS)) + "." +
           std::to_string(LOWORD(version.dwFileVersionLS));
}
