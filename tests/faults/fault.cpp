#include "tests/faults/fault.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

FaultReport ownReport{};
// With room for every name, so that no run finds memory taken for it.
Fault armedFault = [] {
    Fault fault;
    fault.function.reserve(sizeof FaultReport::function);
    return fault;
}();
thread_local int harnessDepth = 0;
thread_local int threadNumber = 0;

} // namespace

FaultReport* faultReport = &ownReport;

bool shareFaultReport(const char* path)
{
    const int file = path ? open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600) : -1;
    const bool sized = ftruncate(file, sizeof(FaultReport)) == 0;
    void* memory =
        mmap(nullptr, sizeof(FaultReport), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (!sized || memory == MAP_FAILED)
        return false;
    faultReport = static_cast<FaultReport*>(memory);
    return true;
}

void armFault(const Fault& fault)
{
    armedFault = fault;
    faultReport->met = 0;
    faultReport->struck = false;
    faultReport->function[0] = '\0';
    faultReport->thread = 0;
    faultReport->foreignFrees = 0;
    faultReport->secretFrees = 0;
    faultReport->throwing = false;
    faultReport->armed = true;
}

void disarmFault()
{
    faultReport->armed = false;
}

void describeFault(const Fault& fault)
{
    const std::string description = std::to_string(static_cast<int>(fault.kind)) + " " +
                                    std::to_string(fault.number) + " " +
                                    std::to_string(fault.error) + " 0 " +
                                    (fault.function.empty() ? "-" : fault.function);
    setenv("NORV_FAULT", description.c_str(), 1);
    faultReport->struck = false;
    faultReport->foreignFrees = 0;
    faultReport->secretFrees = 0;
}

HarnessScope::HarnessScope()
{
    ++harnessDepth;
}

HarnessScope::~HarnessScope()
{
    --harnessDepth;
}

bool strikes(FaultKind kind, const char* function, bool late)
{
    if (!faultReport->armed || harnessDepth > 0)
        return false;
    if (kind != armedFault.kind || late != armedFault.late)
        return false;
    if (!armedFault.function.empty() && armedFault.function != function)
        return false;
    if (++faultReport->met != armedFault.number)
        return false;
    const std::size_t length =
        std::min(std::strlen(function), sizeof faultReport->function - 1);
    std::copy_n(function, length, faultReport->function);
    faultReport->function[length] = '\0';
    faultReport->thread = threadNumber;
    faultReport->struck = true;
    return true;
}

void noteThrowing()
{
    faultReport->throwing = true;
}

void enterThread(int number)
{
    threadNumber = number;
}

int faultError()
{
    return armedFault.error;
}
