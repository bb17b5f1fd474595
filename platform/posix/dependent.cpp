// A dependent is started by way of this program itself, since what makes it depend on its
// starter must be done in its own process, before its own program begins.
//
// A killed program leaves its semaphore's name. So a second process, the watcher, is
// forked from this one. It waits for the end of a pipe that this process and all
// dependents have open for writing: then all of them have ended, in whatever way. It has
// been sent the semaphores' names through that pipe, and removes those that are left.
// This process tells it when it is needed no more: what a dependent started and left
// running may have the pipe open, too.
#include "platform/dependent.h"

#include "platform/named_semaphore.h"
#include "platform/posix/uninterrupted.h"

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// The name by which the system reaches the running program, even when its file has been
// replaced.
constexpr char ownProgram[] = "/proc/self/exe";
// Not an option that anybody would type. The starter's process id follows.
constexpr char mark[] = "--become-dependent-of";

int pipeToWatcher = -1;
pid_t watcher = -1;

// What ends the starter from outside is for the starter to handle.
void ignoreRequestsToEnd()
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        static_cast<void>(std::signal(number, SIG_IGN));
}

// The watcher must outlive what is sent to a terminal's processes or to a process group,
// and must not keep open what others wait to see closed.
void detach(int pipeEnd)
{
    setsid();
    ignoreRequestsToEnd();
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(pipeEnd, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    prctl(PR_SET_NAME, "norvctl-watcher");
}

// Takes the abandoned one over; its last holder removes it.
void removeSemaphore(const std::string& name)
{
    const std::wstring wide(name.begin(), name.end());
    SemaphoreHandle semaphore = createNamedSemaphore(wide.c_str(), 0, 1);
    if (semaphore)
        closeSemaphore(semaphore);
}

// What the starter tells the watcher: one of these, the name of a semaphore, a line end.
constexpr char expected = '+';
constexpr char forgotten = '-';
// No dependent is left, whoever else has the pipe open.
constexpr char done = '.';

void note(std::set<std::string>& names, const std::string& line)
{
    if (line.starts_with(expected))
        names.insert(line.substr(1));
    else
        names.erase(line.substr(1));
}

// The semaphores that are expected when the watcher is done or the pipe ends.
std::set<std::string> readNames(int pipeEnd)
{
    std::set<std::string> names;
    std::string line;
    char block[4096] = {};
    ssize_t count = 0;
    while ((count = uninterrupted([&] { return read(pipeEnd, block, sizeof block); })) >
           0)
        for (ssize_t i = 0; i < count; ++i) {
            if (block[i] != '\n') {
                line += block[i];
                continue;
            }
            if (line.starts_with(done))
                return names;
            note(names, line);
            line.clear();
        }
    return names;
}

[[noreturn]] void watch(int pipeEnd)
{
    detach(pipeEnd);
    for (const std::string& name : readNames(STDIN_FILENO))
        removeSemaphore(name);
    _exit(EXIT_SUCCESS);
}

void tellWatcher(char what, const std::string& name)
{
    const std::string line = what + name + '\n';
    // Without the watcher, only the cleaning up after a kill is missing.
    static_cast<void>(
        uninterrupted([&] { return write(pipeToWatcher, line.data(), line.size()); }));
}

} // namespace

bool prepareForDependents()
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    watcher = fork();
    if (watcher == 0) {
        close(ends[1]);
        watch(ends[0]);
    }
    close(ends[0]);
    pipeToWatcher = ends[1];
    return watcher != -1;
}

std::vector<std::string> dependentCommand(const std::string& program,
                                          const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{ownProgram, mark, std::to_string(getpid()), program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

int dependentDescriptor()
{
    return pipeToWatcher;
}

void expectSemaphore(const std::string& name)
{
    tellWatcher(expected, name);
}

void forgetSemaphore(const std::string& name, bool wasKilled)
{
    if (wasKilled)
        removeSemaphore(name);
    tellWatcher(forgotten, name);
}

void finishWithDependents()
{
    if (watcher == -1)
        return;
    tellWatcher(done, {});
    close(pipeToWatcher);
    static_cast<void>(uninterrupted([] { return waitpid(watcher, nullptr, 0); }));
    pipeToWatcher = -1;
    watcher = -1;
}

void becomeDependent(int count, char** arguments)
{
    constexpr int programIndex = 3;
    if (count <= programIndex || std::strcmp(arguments[1], mark) != 0)
        return;
    pid_t starter = -1;
    const char* digits = arguments[2];
    std::from_chars(digits, digits + std::strlen(digits), starter);
    // The starter may have ended before the signal was asked for.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != starter)
        _exit(cannotStart);
    ignoreRequestsToEnd();
    execv(arguments[programIndex], arguments + programIndex);
    _exit(cannotStart);
}
