#include "tests/faults/faulty_process.h"

#include "tests/faults/memory.h"

#include <csignal>
#include <cstdlib>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

void guardFaultyProcess()
{
    const rlimit noDump{0, 0};
    setrlimit(RLIMIT_CORE, &noDump);
    // A crash (SIGSEGV and the like) must not be taken for an allowed abnormal end, so it
    // gets its own exit code.
    for (const int fault : {SIGBUS, SIGFPE, SIGILL, SIGSEGV})
        static_cast<void>(std::signal(fault, [](int) { _exit(brokenExitCode); }));
    static_cast<void>(std::signal(SIGALRM, [](int) { _exit(hungExitCode); }));
    alarm(hungSeconds);
    if (!shareFaultReport(std::getenv("NORV_FAULT_REPORT")) || !seesLibraryMemory())
        _exit(unsetExitCode);
}

Fault describedFault()
{
    const char* description = std::getenv("NORV_FAULT");
    std::istringstream words(description ? description : "0 0 0 0 -");
    int kind = 0;
    Fault fault;
    words >> kind >> fault.number >> fault.error >> fault.late >> fault.function;
    fault.kind = static_cast<FaultKind>(kind);
    if (fault.function == "-")
        fault.function.clear();
    return fault;
}
