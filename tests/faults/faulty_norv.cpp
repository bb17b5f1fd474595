// The program, with a fault that its environment describes:
//   NORV_FAULT         KIND NUMBER ERROR LATE FUNCTION ("-": any)
//   NORV_FAULT_REPORT  the file that the report is written to
// and with an end of its own when it takes too long.
#include "tests/faults/faulty_norv.h"
#include "app/driver.h"
#include "platform/process.h"
#include "tests/faults/fault.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

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

bool shareReport()
{
    const char* path = std::getenv("NORV_FAULT_REPORT");
    const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
    void* memory =
        mmap(nullptr, sizeof(FaultReport), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED)
        return false;
    faultReport = static_cast<FaultReport*>(memory);
    return true;
}

} // namespace

int main()
{
    const rlimit noDump{0, 0};
    setrlimit(RLIMIT_CORE, &noDump);
    static_cast<void>(std::signal(SIGALRM, [](int) { _exit(hungExitCode); }));
    alarm(hungSeconds);
    if (!shareReport())
        return unsetExitCode;

    armFault(describedFault());
    prepareProcess();
    const int exitCode = runProgram();
    disarmFault();
    return exitCode;
}
