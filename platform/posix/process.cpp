#include "platform/process.h"

#include "platform/posix/semaphore_names.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

void prepareProcess()
{
    // A stream is opened the wrong way round, so that its use fails.
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1)
            static_cast<void>(open("/dev/null", descriptor == 0 ? O_WRONLY : O_RDONLY));
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

void endProcess(int exitCode)
{
    std::fflush(stdout);
    giveUpSemaphoreNames();
    _exit(exitCode);
}
