// The program. What it does is in the driver, a library, so that tests can link it.
#include "app/driver.h"
#include "platform/process.h"

int main()
{
    prepareProcess();
    showOutputAtOnce();
    return runProgram();
}
