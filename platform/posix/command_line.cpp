#include "platform/command_line.h"

#include "platform/posix/utf8.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace
{

// The arguments as the kernel keeps them, each ended by a zero byte. Empty on
// failure.
std::string readArguments()
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen("/proc/self/cmdline", "re"), std::fclose);
    std::string arguments;
    if (!file)
        return arguments;
    char block[4096];
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get()))
        arguments.append(block, count);
    return arguments;
}

// One line that splits into the same arguments again: blanks separate them, and
// quotes hold together what has a blank inside or nothing at all.
std::wstring joinArguments(std::string_view arguments)
{
    std::wstring line;
    while (!arguments.empty()) {
        const std::string_view argument = arguments.substr(0, arguments.find('\0'));
        arguments.remove_prefix(std::min(argument.size() + 1, arguments.size()));

        if (!line.empty())
            line += L' ';
        const bool quoted =
            argument.empty() || argument.find(' ') != std::string_view::npos;
        if (quoted)
            line += L'"';
        line += decodeUtf8(argument);
        if (quoted)
            line += L'"';
    }
    return line;
}

} // namespace

const wchar_t* commandLine()
{
    static const std::wstring line = joinArguments(readArguments());
    return line.empty() ? nullptr : line.c_str();
}
