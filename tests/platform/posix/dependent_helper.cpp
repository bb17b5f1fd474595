// A program that starts a dependent, or is one.
//   dependent_helper hold NAME           creates the semaphore and waits for its release
//   dependent_helper start PROGRAM ARG…  starts the program as a dependent, whose last
//                                        argument names its semaphore; ends with its exit
//                                        code
#include "platform/dependent.h"
#include "platform/named_semaphore.h"

#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

int hold(const std::string& name)
{
    SemaphoreHandle semaphore =
        createNamedSemaphore(std::wstring(name.begin(), name.end()).c_str(), 0, 1);
    if (!semaphore || !waitForSemaphore(semaphore))
        return 1;
    closeSemaphore(semaphore);
    return 7;
}

int start(const std::string& program, const std::vector<std::string>& arguments)
{
    if (!prepareForDependents())
        return 1;
    expectSemaphore(arguments.back());
    const std::vector<std::string> command = dependentCommand(program, arguments);
    std::vector<char*> pointers;
    pointers.reserve(command.size() + 1);
    for (const std::string& argument : command)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t files{};
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, dependentDescriptor(), 3);
    pid_t child = -1;
    int status = 0;
    const int error =
        posix_spawn(&child, pointers.front(), &files, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0 || waitpid(child, &status, 0) != child)
        return 2;
    finishWithDependents();
    return WIFEXITED(status) ? WEXITSTATUS(status) : 3;
}

} // namespace

int main(int count, char** arguments)
{
    becomeDependent(count, arguments);
    const std::string task = arguments[1];
    if (task == "hold")
        return hold(arguments[2]);
    return start(arguments[2],
                 std::vector<std::string>(arguments + 3, arguments + count));
}
