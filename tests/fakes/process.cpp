#include "tests/fakes/process.h"

#include "platform/process.h"

void prepareProcess() {}

void showOutputAtOnce() {}

void endProcess(int exitCode)
{
    throw ProcessEnd{exitCode};
}
