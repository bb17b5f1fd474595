#include "platform/process.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <windows.h>

const char* const programEnding = ".exe";

void prepareProcess()
{
    // Reads and writes of broken pipes and closed streams fail here without any
    // preparation. The exit code is the one with which the runtime ends an aborted
    // program.
    std::set_terminate([] { std::_Exit(3); });
}

void showOutputAtOnce()
{
    // The runtime does not buffer a console.
}

void endProcess(int exitCode)
{
    std::fflush(stdout);
    // Not ExitProcess: it would wait for locks that the threads it ends may hold.
    // Semaphore names go with the handles.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    // The call above does not return for the process itself.
    for (;;)
        Sleep(INFINITE);
}
