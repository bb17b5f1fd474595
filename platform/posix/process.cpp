#include "platform/process.h"

#include "platform/posix/semaphore_names.h"
#include "platform/posix/uninterrupted.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <unistd.h>

const char* const programEnding = "";

void prepareProcess()
{
    // A closed stream is opened for the opposite direction, so that every use fails.
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1)
            static_cast<void>(uninterrupted([descriptor] {
                return descriptor == 0 ? open("/dev/null", O_WRONLY)
                                       : open("/dev/null", O_RDONLY);
            }));
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    // The library's own handler writes to standard error.
    std::set_terminate(std::abort);
}

void showOutputAtOnce()
{
    // Output to a terminal is buffered by lines, and progress marks end no line.
    if (isatty(STDOUT_FILENO) != 0)
        static_cast<void>(std::setvbuf(stdout, nullptr, _IONBF, 0));
}

void endProcess(int exitCode)
{
    std::fflush(stdout);
    giveUpSemaphoreNames();
    _exit(exitCode);
}
