#include "platform/file.h"

#include "platform/posix/uninterrupted.h"
#include "platform/posix/utf8.h"

#include <fcntl.h>
#include <new>
#include <string>
#include <unistd.h>

std::FILE* openForAppending(const wchar_t* path)
{
    // Never waits: a pipe that nobody reads would block the caller, and with it the stop.
    constexpr int flags =
        O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    constexpr mode_t mode = 0666;
    try {
        const std::string bytes = encodeUtf8(path);
        const int number =
            uninterrupted([&] { return open(bytes.c_str(), flags, mode); });
        if (number == -1)
            return nullptr;
        std::FILE* file = fdopen(number, "a");
        if (!file)
            close(number);
        return file;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
