#include "tests/fakes/command_line.h"

#include "platform/command_line.h"

const wchar_t* fakeCommandLine = nullptr;

const wchar_t* commandLine()
{
    return fakeCommandLine;
}
