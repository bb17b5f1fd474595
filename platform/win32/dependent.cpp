// The library that starts the processes puts them into a job that ends with this process;
// and the system removes a semaphore with its last holder.
#include "platform/dependent.h"

bool prepareForDependents()
{
    return true;
}

std::vector<std::string> dependentCommand(const std::string& program,
                                          const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

int dependentDescriptor()
{
    return -1;
}

void expectSemaphore(const std::string& /*name*/) {}

void forgetSemaphore(const std::string& /*name*/, bool /*wasKilled*/) {}

void finishWithDependents() {}

void becomeDependent(int /*count*/, char** /*arguments*/) {}
