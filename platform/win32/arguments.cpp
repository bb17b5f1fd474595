#include "platform/arguments.h"

#include <memory>
#include <windows.h>
// After windows.h, whose types it uses.
#include <shellapi.h>

namespace
{

struct LocalRelease {
    void operator()(void* memory) const
    {
        LocalFree(memory);
    }
};

std::string utf8(const wchar_t* text)
{
    // The length counts the zero at the end.
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), length, nullptr, nullptr);
    bytes.pop_back();
    return bytes;
}

} // namespace

std::vector<std::string> argumentsOf(int count, const char* const* received)
{
    // What main receives is in the system's code page.
    int found = 0;
    const std::unique_ptr<wchar_t*, LocalRelease> wide(
        CommandLineToArgvW(GetCommandLineW(), &found));
    std::vector<std::string> arguments;
    for (int i = 0; wide && i < found; ++i)
        arguments.push_back(utf8(wide.get()[i]));
    if (!wide)
        arguments.assign(received, received + count);
    return arguments;
}
