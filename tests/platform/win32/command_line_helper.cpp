// Prints its own command line, in UTF-8.
#include "platform/command_line.h"

#include <cstddef>
#include <cstdio>
#include <string>
#include <windows.h>

int main()
{
    const wchar_t* line = commandLine();
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, line, -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, line, -1, bytes.data(), size, nullptr, nullptr);
    std::fputs(bytes.c_str(), stdout);
    return 0;
}
