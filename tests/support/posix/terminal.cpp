#include "tests/support/posix/terminal.h"

#include "tests/support/process.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace
{

int openScreen()
{
    const int screen = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (screen == -1 || grantpt(screen) != 0 || unlockpt(screen) != 0 ||
        tcgetattr(screen, &settings) != 0)
        throw std::system_error(errno, std::generic_category(), "posix_openpt");
    cfmakeraw(&settings);
    tcsetattr(screen, TCSANOW, &settings);
    return screen;
}

} // namespace

Terminal::Terminal()
    : screen_(openScreen())
{
    std::array<char, 64> name{};
    if (ptsname_r(screen_, name.data(), name.size()) != 0)
        throw std::system_error(errno, std::generic_category(), "ptsname_r");
    path_ = name.data();
}

void Terminal::setWidth(unsigned short characters)
{
    const winsize size{24, characters, 0, 0};
    if (ioctl(screen_, TIOCSWINSZ, &size) != 0)
        throw std::system_error(errno, std::generic_category(), "TIOCSWINSZ");
}

Terminal::~Terminal()
{
    close(screen_);
}

bool Terminal::readMore(int milliseconds)
{
    pollfd polled{screen_, POLLIN, 0};
    if (poll(&polled, 1, milliseconds) != 1)
        return false;
    std::array<char, 4096> block{};
    const ssize_t count = read(screen_, block.data(), block.size());
    if (count <= 0)
        return false;
    shown_.append(block.data(), static_cast<std::size_t>(count));
    return true;
}

bool Terminal::shows(const std::string& text)
{
    using std::chrono::milliseconds;
    const auto end = std::chrono::steady_clock::now() + Process::timeLimit;
    while (shown_.find(text) == std::string::npos) {
        const auto left = std::chrono::duration_cast<milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !readMore(static_cast<int>(left.count())))
            return false;
    }
    return true;
}

const std::string& Terminal::shown()
{
    constexpr int noWait = 0;
    while (readMore(noWait)) {
    }
    return shown_;
}

std::vector<std::string> outputTo(const std::string& path, const std::string& program,
                                  const std::vector<std::string>& arguments)
{
    std::vector<std::string> all{"-c", R"(exec "$@" >"$0")", path, program};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}
