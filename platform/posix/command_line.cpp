#include "platform/command_line.h"

#include "platform/posix/uninterrupted.h"
#include "platform/posix/utf8.h"

#include <algorithm>
#include <cstddef>
#include <fcntl.h>
#include <string.h>
#include <string>
#include <string_view>
#include <unistd.h>

// The base number may be on the command line. So every copy made here on the way is
// wiped. Each buffer gets its full size at once: one that grows would leave copies
// behind.

namespace
{

constexpr char argumentsFile[] = "/proc/self/cmdline";

// Reads the arguments as the kernel keeps them, each ended by a zero byte, into
// `bytes` as far as they fit. Returns how many bytes there are; 0 on failure.
std::size_t readArguments(char* bytes, std::size_t capacity)
{
    const int file =
        uninterrupted([] { return open(argumentsFile, O_RDONLY | O_CLOEXEC); });
    if (file == -1)
        return 0;
    char block[4096];
    const auto readBlock = [&] {
        return read(file, block, sizeof block);
    };
    std::size_t total = 0;
    for (ssize_t count = 0; (count = uninterrupted(readBlock)) > 0;) {
        const auto size = static_cast<std::size_t>(count);
        if (total < capacity)
            std::copy_n(block, std::min(size, capacity - total), bytes + total);
        total += size;
    }
    close(file);
    explicit_bzero(block, sizeof block);
    return total;
}

// The arguments as one line, separated by blanks. An argument that is empty or has a
// blank in it is put into quotes. The line has no escape for a quote. So it splits into
// the same arguments again unless one starts with a quote, or holds a quote and a blank.
std::string joinArguments(std::string_view arguments)
{
    std::string line;
    line.reserve(3 * arguments.size());
    while (!arguments.empty()) {
        const std::string_view argument = arguments.substr(0, arguments.find('\0'));
        arguments.remove_prefix(std::min(argument.size() + 1, arguments.size()));

        if (!line.empty())
            line += ' ';
        const bool quoted =
            argument.empty() || argument.find(' ') != std::string_view::npos;
        if (quoted)
            line += '"';
        line += argument;
        if (quoted)
            line += '"';
    }
    return line;
}

std::wstring readLine()
{
    std::string arguments(readArguments(nullptr, 0), '\0');
    readArguments(arguments.data(), arguments.size());
    std::string joined = joinArguments(arguments);
    std::wstring line = decodeUtf8(joined);
    explicit_bzero(arguments.data(), arguments.size());
    explicit_bzero(joined.data(), joined.size());
    return line;
}

} // namespace

const wchar_t* commandLine()
{
    // Never destroyed: it belongs to the process.
    static const std::wstring& line = *new std::wstring(readLine());
    return line.empty() ? nullptr : line.c_str();
}
