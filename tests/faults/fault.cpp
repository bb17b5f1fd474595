#include "tests/faults/fault.h"

#include <algorithm>
#include <cstring>

namespace
{

FaultReport ownReport{};
Fault armedFault;
thread_local int harnessDepth = 0;
thread_local int threadNumber = 0;

} // namespace

FaultReport* faultReport = &ownReport;

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
