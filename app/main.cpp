// The program. Everything it does is in the driver, a library that tests link.
#include "app/driver.h"
#include "platform/process.h"

int main()
{
    prepareProcess();
    showOutputAtOnce();
    return runProgram();
}
