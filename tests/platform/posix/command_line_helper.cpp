// Prints its own command line, in the bytes that came in.
#include "platform/command_line.h"
#include "platform/posix/utf8.h"

#include <cstdio>

int main()
{
    const wchar_t* line = commandLine();
    std::fputs(line ? encodeUtf8(line).c_str() : "none", stdout);
    return 0;
}
