#include "tests/support/process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace
{

using Clock = std::chrono::steady_clock;

class Descriptor
{
public:
    explicit Descriptor(int number = -1)
        : number_(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : number_(std::exchange(other.number_, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor()
    {
        reset();
    }
    void reset()
    {
        if (number_ != -1)
            close(std::exchange(number_, -1));
    }
    int get() const
    {
        return number_;
    }
    explicit operator bool() const
    {
        return number_ != -1;
    }

private:
    int number_;
};

struct Pipe {
    Descriptor read;
    Descriptor write;
};

// Neither end goes to a process started later, by this test or another.
Pipe makePipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void setNonBlocking(const Descriptor& descriptor)
{
    fcntl(descriptor.get(), F_SETFL, O_NONBLOCK);
}

// What the new process does with its streams before the program starts.
class SpawnActions
{
public:
    SpawnActions()
    {
        posix_spawn_file_actions_init(&actions_);
        // A test program ignores the signal of a broken pipe; what it starts
        // must not inherit that.
        posix_spawnattr_init(&attributes_);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes_, &defaults);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions()
    {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }

    void use(const Descriptor& descriptor, int stream)
    {
        posix_spawn_file_actions_adddup2(&actions_, descriptor.get(), stream);
    }
    void close(int stream)
    {
        posix_spawn_file_actions_addclose(&actions_, stream);
    }
    const posix_spawn_file_actions_t* files() const
    {
        return &actions_;
    }
    const posix_spawnattr_t* attributes() const
    {
        return &attributes_;
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

pid_t spawn(const std::string& program, const std::vector<std::string>& arguments,
            const SpawnActions& actions)
{
    std::vector<char*> pointers{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    pid_t child = -1;
    const int error = posix_spawn(&child, program.c_str(), actions.files(),
                                  actions.attributes(), pointers.data(), environ);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), program);
    return child;
}

// Readable when the process has ended. The library's header for the call does
// not serve C++ everywhere.
Descriptor openEnd(pid_t child)
{
    const long number = syscall(SYS_pidfd_open, child, 0);
    if (number == -1)
        throw std::system_error(errno, std::generic_category(), "pidfd_open");
    return Descriptor(static_cast<int>(number));
}

// Appends what can be read now to `text`; closes the pipe at its end.
void readAvailable(Descriptor& pipe, std::string& text)
{
    std::array<char, 4096> block{};
    while (pipe) {
        const ssize_t count = read(pipe.get(), block.data(), block.size());
        if (count > 0)
            text.append(block.data(), static_cast<std::size_t>(count));
        else if (count == 0)
            pipe.reset();
        else if (errno != EINTR)
            return;
    }
}

// Never a code that a process can end with by itself.
constexpr int signalled = -1;

} // namespace

struct Process::Native {
    pid_t child = -1; // -1 once it is reaped
    Descriptor ended; // readable when the process has ended
    Descriptor input;
    Descriptor output;
    Descriptor errors;
    std::string inputLeft;
    bool inputStaysOpen = false;
    Ending ending;

    // Writes as much of the input as the pipe takes, and closes the pipe after the last
    // byte or an error, unless it is to stay open.
    void writeInput()
    {
        while (input && !inputLeft.empty()) {
            const ssize_t count = write(input.get(), inputLeft.data(), inputLeft.size());
            if (count > 0)
                inputLeft.erase(0, static_cast<std::size_t>(count));
            else if (errno == EAGAIN)
                return;
            else if (errno != EINTR)
                inputLeft.clear();
        }
        if (!inputStaysOpen)
            input.reset();
    }

    // Serves the pipes until the process has ended or the time is over; true in
    // the first case.
    bool serve(Clock::time_point end)
    {
        for (;;) {
            std::array<pollfd, 4> polled{{
                {ended.get(), POLLIN, 0},
                {output.get(), POLLIN, 0},
                {errors.get(), POLLIN, 0},
                {inputLeft.empty() ? -1 : input.get(), POLLOUT, 0},
            }};
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            if (left.count() <= 0)
                return false;
            poll(polled.data(), polled.size(), static_cast<int>(left.count()));
            if (polled[3].revents != 0)
                writeInput();
            readAvailable(output, ending.output);
            readAvailable(errors, ending.errors);
            if (polled[0].revents != 0)
                return true;
        }
    }

    void reap()
    {
        int status = 0;
        while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
        }
        child = -1;
        ending.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : signalled;
        readAvailable(output, ending.output);
        readAvailable(errors, ending.errors);
    }
};

Process::Process(const std::string& program, const std::vector<std::string>& arguments,
                 const Streams& streams)
    : native_(std::make_unique<Native>())
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    SpawnActions actions;
    Pipe input = makePipe();
    Pipe output = makePipe();
    Pipe errors = makePipe();
    if (streams.input == Streams::Input::closed)
        actions.close(STDIN_FILENO);
    else
        actions.use(input.read, STDIN_FILENO);
    if (streams.output == Streams::Output::closed)
        actions.close(STDOUT_FILENO);
    else
        actions.use(output.write, STDOUT_FILENO);
    actions.use(errors.write, STDERR_FILENO);

    if (streams.output != Streams::Output::collected)
        output.read.reset();
    native_->child = spawn(program, arguments, actions);
    native_->ended = openEnd(native_->child);
    native_->input = std::move(input.write);
    native_->output = std::move(output.read);
    native_->errors = std::move(errors.read);
    for (const Descriptor* mine : {&native_->input, &native_->output, &native_->errors})
        setNonBlocking(*mine);

    native_->inputLeft = streams.inputText;
    native_->inputStaysOpen = streams.input == Streams::Input::textAndOpen;
    native_->writeInput();
}

Process::~Process()
{
    if (native_->child == -1)
        return;
    kill();
    native_->reap();
}

bool Process::isRunning()
{
    pollfd polled{native_->ended.get(), POLLIN, 0};
    return native_->child != -1 && poll(&polled, 1, 0) == 0;
}

int Process::id() const
{
    return native_->child;
}

void Process::kill()
{
    if (native_->child != -1)
        ::kill(native_->child, SIGKILL);
}

Ending Process::wait()
{
    native_->ending.inTime = native_->serve(Clock::now() + timeLimit);
    if (!native_->ending.inTime)
        kill();
    native_->reap();
    return native_->ending;
}

int seenExitCode(int exitCode)
{
    return exitCode & 0xFF;
}

bool endedAbnormally(const Ending& ending)
{
    return ending.exitCode == signalled;
}

std::string withNativeLineEnds(const std::string& text)
{
    return text;
}
