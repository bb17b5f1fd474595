#include "platform/command_line.h"

#include <windows.h>

const wchar_t* commandLine()
{
    return GetCommandLineW();
}
