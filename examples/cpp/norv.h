// Finds a prime or a safe prime by starting norv. One file to copy into a program: it
// needs C++17, the standard library and Linux or Windows. On Linux link with -pthread.
//
//   std::atomic<bool> cancelled = false;
//   norv::Search search;
//   search.base = "9F3C…"; // 256 digits for a prime of 1024 bits
//   norv::Outcome outcome = norv::findPrime(search, cancelled);
//   if (outcome.kind == norv::Outcome::Kind::found)
//       use(outcome.prime);
//
// findPrime waits for the prime. Another thread or a signal handler sets `cancelled` to
// end the search. norv also ends when the calling program ends, in whatever way.
//
// norv tests with witnesses that follow from the clock. If the base comes from somebody
// else, test the prime again; norvctl does so by itself.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <utility>
#include <windows.h>
#else
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace norv
{

// A name that nobody can foresee. Runs that share a name stop each other.
inline std::string freshName()
{
    std::random_device random;
    std::string name = "norv-";
    for (int i = 0; i < 32; ++i)
        name += "0123456789abcdef"[random() & 15];
    return name;
}

struct Search {
    std::string base; // hex digits, two for each byte. The prime gets the same size
    bool safe = false;
    int threads = 1;              // 1 to 63
    std::string program = "norv"; // a path, or a name on the system's path; UTF-8
    // No blanks, slashes or quotation marks. Empty: each run gets a fresh name.
    std::string semaphore = {};
};

struct Outcome {
    enum class Kind { found, cancelled, failed } kind;
    std::string prime = {};   // when found: upper-case hex, as many digits as the base
    std::string message = {}; // when failed: one line for people
};

namespace detail
{

// How often `cancelled` is looked at.
constexpr int turnMilliseconds = 50;

#ifdef _WIN32

class Handle
{
public:
    explicit Handle(HANDLE handle = nullptr)
        : handle_(handle)
    {
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle()
    {
        reset();
    }
    void reset(HANDLE handle = nullptr)
    {
        if (handle_)
            CloseHandle(handle_);
        handle_ = handle;
    }
    HANDLE get() const
    {
        return handle_;
    }

private:
    HANDLE handle_;
};

inline std::wstring wide(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    std::wstring result(text.size(), L'\0');
    result.resize(static_cast<std::size_t>(MultiByteToWideChar(
        CP_UTF8, 0, text.data(), size, result.data(), static_cast<int>(result.size()))));
    return result;
}

// Releases the semaphore once. False when there is none (yet).
inline bool release(const std::string& name)
{
    const Handle semaphore(
        OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, wide(name).c_str()));
    // A release fails where the count stands at its maximum: that stops the run, too.
    if (semaphore.get())
        ReleaseSemaphore(semaphore.get(), 1, nullptr);
    return semaphore.get() != nullptr;
}

// One run of norv. Nothing of it is left when this ends.
class Child
{
public:
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        kill();
    }

    // Starts the program and writes `input`. Returns what went wrong, or an empty text.
    std::string start(const std::vector<std::string>& command, const std::string& input)
    {
        Handle childInput;
        Handle childOutput;
        Handle inputEnd;
        // The pipe takes all of the input at once, whatever the program does.
        if (!makePipe(childInput, inputEnd, static_cast<DWORD>(input.size())) ||
            !makePipe(output_, childOutput, 0))
            return "a pipe cannot be made" + lastError();
        SetHandleInformation(childInput.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        SetHandleInformation(childOutput.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);

        // The system ends all processes of a job with its last handle, and so with this
        // process.
        job_.reset(CreateJobObjectW(nullptr, nullptr));
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        if (!job_.get() ||
            !SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation,
                                     &limits, sizeof limits))
            return "a job cannot be made" + lastError();

        std::wstring line = L'"' + wide(command[0]) + L'"';
        for (std::size_t i = 1; i < command.size(); ++i)
            line += L' ' + wide(command[i]);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = childInput.get();
        startup.hStdOutput = childOutput.get();
        PROCESS_INFORMATION started{};
        // With a console of its own norv is not reached by Ctrl-C: this process decides
        // when it ends.
        if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                            CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr,
                            &startup, &started))
            return command[0] + " cannot be started" + lastError();
        process_.reset(started.hProcess);
        const Handle thread(started.hThread);
        if (!AssignProcessToJobObject(job_.get(), process_.get())) {
            const std::string error = lastError();
            TerminateProcess(process_.get(), 1);
            return command[0] + " cannot be put into a job" + error;
        }
        ResumeThread(thread.get());

        DWORD written = 0;
        if (!WriteFile(inputEnd.get(), input.data(), static_cast<DWORD>(input.size()),
                       &written, nullptr))
            return "the base cannot be written" + lastError();
        return {};
    }

    // Appends what the program has written; waits a turn for more. False when it has
    // ended and all is read.
    bool read(std::string& output)
    {
        const bool ended =
            WaitForSingleObject(process_.get(), turnMilliseconds) == WAIT_OBJECT_0;
        DWORD available = 0;
        if (!PeekNamedPipe(output_.get(), nullptr, 0, nullptr, &available, nullptr) ||
            available == 0)
            return !ended;
        const std::size_t before = output.size();
        output.resize(before + available);
        DWORD count = 0;
        ReadFile(output_.get(), output.data() + before, available, &count, nullptr);
        output.resize(before + count);
        return true;
    }

    // start has told what it was.
    static std::string startError()
    {
        return {};
    }

    void kill()
    {
        if (!process_.get())
            return;
        TerminateProcess(process_.get(), 1);
        WaitForSingleObject(process_.get(), INFINITE);
        process_.reset();
    }

private:
    static bool makePipe(Handle& readEnd, Handle& writeEnd, DWORD size)
    {
        HANDLE read = nullptr;
        HANDLE write = nullptr;
        const bool made = CreatePipe(&read, &write, nullptr, size) != 0;
        readEnd.reset(read);
        writeEnd.reset(write);
        return made;
    }

    static std::string lastError()
    {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
            return ": there is no such program";
        return ": error " + std::to_string(error);
    }

    Handle process_;
    Handle output_;
    Handle job_;
};

// A semaphore goes with its last holder.
inline void forget(const std::string& /*name*/) {}

#else

class Descriptor
{
public:
    Descriptor() = default;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        reset();
    }
    void reset(int number = -1)
    {
        if (number_ != -1)
            close(number_);
        number_ = number;
    }
    int get() const
    {
        return number_;
    }

private:
    int number_ = -1;
};

// The result of a call that a signal did not interrupt.
template <typename Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// Releases the semaphore once. False when there is none (yet).
inline bool release(const std::string& name)
{
    sem_t* semaphore = sem_open(("/" + name).c_str(), 0);
    if (semaphore == SEM_FAILED)
        return false;
    sem_post(semaphore);
    sem_close(semaphore);
    return true;
}

// One run of norv. No process of it is left when this ends.
class Child
{
public:
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        kill();
    }

    // Starts the program and writes `input`. Returns what went wrong, or an empty text.
    std::string start(const std::vector<std::string>& command, const std::string& input)
    {
        // Sockets and not pipes for the input: a write to a pipe that nobody reads any
        // more would raise a signal in this process.
        Descriptor childInput;
        Descriptor inputEnd;
        Descriptor childOutput;
        Descriptor childError;
        if (!makePair(childInput, inputEnd, true) ||
            !makePair(output_, childOutput, false) ||
            !makePair(error_, childError, false))
            return std::string("a pipe cannot be made: ") + std::strerror(errno);

        std::vector<char*> arguments;
        for (const std::string& argument : command)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        const pid_t parent = getpid();
        process_ = fork();
        if (process_ == 0)
            become(arguments, parent, childInput, childOutput, childError);
        if (process_ == -1)
            return std::string("no process can be made: ") + std::strerror(errno);
        childInput.reset();
        childOutput.reset();
        childError.reset();

        for (std::size_t sent = 0; sent < input.size();) {
            const ssize_t count = uninterrupted([&] {
                return send(inputEnd.get(), input.data() + sent, input.size() - sent,
                            MSG_NOSIGNAL);
            });
            if (count == -1)
                break; // the program has ended, which its output will tell
            sent += static_cast<std::size_t>(count);
        }
        return {};
    }

    // Appends what the program has written; waits a turn for more. False when it has
    // ended and all is read.
    bool read(std::string& output)
    {
        pollfd polled{output_.get(), POLLIN, 0};
        const int ready = poll(&polled, 1, turnMilliseconds);
        if (ready == 0) {
            // The output has no end as long as another process has a copy of it: one that
            // another thread forked meanwhile.
            const bool ended = process_ == -1;
            if (!ended && waitpid(process_, nullptr, WNOHANG) == process_)
                process_ = -1;
            return !ended;
        }
        if (ready == -1)
            return true;
        std::array<char, 4096> block{};
        const ssize_t count = ::read(output_.get(), block.data(), block.size());
        if (count > 0)
            output.append(block.data(), static_cast<std::size_t>(count));
        else if (count == 0 && process_ != -1)
            reap();
        return count != 0;
    }

    // What kept an ended program from starting, or an empty text.
    std::string startError() const
    {
        pollfd polled{error_.get(), POLLIN, 0};
        int number = 0;
        if (poll(&polled, 1, 0) == 1 &&
            ::read(error_.get(), &number, sizeof number) == sizeof number)
            return std::strerror(number);
        return {};
    }

    void kill()
    {
        if (process_ <= 0)
            return;
        ::kill(process_, SIGKILL);
        reap();
    }

private:
    static bool makePair(Descriptor& first, Descriptor& second, bool sockets)
    {
        std::array<int, 2> ends{-1, -1};
        const int result =
            sockets ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data())
                    : pipe2(ends.data(), O_CLOEXEC);
        // Above the standard streams, which this process may have closed.
        for (int& end : ends)
            if (end >= 0 && end <= STDERR_FILENO) {
                const int low = end;
                end = fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
                close(low);
            }
        first.reset(ends[0]);
        second.reset(ends[1]);
        return result == 0 && ends[0] != -1 && ends[1] != -1;
    }

    // Only calls that are safe between a fork and the next program's start.
    [[noreturn]] static void become(const std::vector<char*>& arguments, pid_t parent,
                                    const Descriptor& input, const Descriptor& output,
                                    const Descriptor& error)
    {
        // norv ends with the thread that started it. That may have ended already.
        if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent)
            _exit(1);
        // What a terminal sends to all its processes is for the parent alone, which then
        // cancels the search.
        for (const int number : {SIGINT, SIGHUP, SIGQUIT})
            static_cast<void>(std::signal(number, SIG_IGN));
        if (dup2(input.get(), STDIN_FILENO) != -1 &&
            dup2(output.get(), STDOUT_FILENO) != -1)
            execvp(arguments[0], arguments.data());
        const int number = errno;
        _exit(write(error.get(), &number, sizeof number) == sizeof number ? 1 : 2);
    }

    void reap()
    {
        uninterrupted([this] { return waitpid(process_, nullptr, 0); });
        process_ = -1;
    }

    pid_t process_ = -1;
    Descriptor output_;
    Descriptor error_;
};

// A killed run leaves its semaphore's name.
inline void forget(const std::string& name)
{
    sem_unlink(("/" + name).c_str());
}

#endif

inline bool isHex(const std::string& text, const char* digits)
{
    return !text.empty() && text.size() % 2 == 0 &&
           text.find_first_not_of(digits) == std::string::npos;
}

// The digits of "0A 1B ": pairs of digits, each with a blank after it. Empty for any
// other text.
inline std::string digitsOf(const std::string& pairs)
{
    std::string digits;
    for (std::size_t i = 0; i + 2 < pairs.size(); i += 3) {
        if (pairs[i + 2] != ' ')
            return {};
        digits.append(pairs, i, 2);
    }
    return pairs.size() % 3 == 0 && isHex(digits, "0123456789ABCDEF") ? digits
                                                                      : std::string();
}

} // namespace detail

// Finds the next prime that a search upward from the base meets. Returns when it is
// found, within a twentieth of a second after `cancelled` became true (5 seconds for very
// large sizes), or when something went wrong. Any number of threads.
inline Outcome findPrime(const Search& search, const std::atomic<bool>& cancelled)
{
    using Clock = std::chrono::steady_clock;
    using Kind = Outcome::Kind;
    if (!detail::isHex(search.base, "0123456789ABCDEFabcdef"))
        return {Kind::failed, {}, "the base must be pairs of hex digits"};
    if (search.threads < 1 || search.threads > 63)
        return {Kind::failed, {}, "norv takes 1 to 63 threads"};

    const std::string semaphore =
        search.semaphore.empty() ? freshName() : search.semaphore;
    // A blank after the last pair, too: norv waits for three characters a byte.
    std::string pairs;
    for (std::size_t i = 0; i < search.base.size(); i += 2)
        pairs += search.base.substr(i, 2) + ' ';
    std::vector<std::string> command{search.program,
                                     "-noPrompt",
                                     "-threads",
                                     std::to_string(search.threads),
                                     "-input",
                                     std::to_string(search.base.size() / 2),
                                     "-stopSemaphoreName",
                                     semaphore};
    if (search.safe)
        command.push_back("-safe");

    detail::Child norv;
    if (const std::string error = norv.start(command, pairs); !error.empty())
        return {Kind::failed, {}, error};
    std::string output;
    bool running = true;
    bool released = false;
    Clock::time_point patience = Clock::time_point::max();
    while (output.size() <= pairs.size() && Clock::now() < patience &&
           (running = norv.read(output))) {
        if (!cancelled)
            continue;
        if (patience == Clock::time_point::max())
            patience = Clock::now() + std::chrono::seconds(5);
        // norv makes its semaphore after it has read the base, so this may take turns.
        released = released || detail::release(semaphore);
    }
    if (running) {
        norv.kill();
        detail::forget(semaphore);
    }

    // The characters count and not the exit code, of which Linux passes on 8 bits.
    if (output.size() == pairs.size())
        if (std::string digits = detail::digitsOf(output); !digits.empty())
            return {Kind::found, digits};
    if (cancelled)
        return {Kind::cancelled};
    if (const std::string error = norv.startError(); !error.empty())
        return {Kind::failed, {}, search.program + " cannot be started: " + error};
    if (output.empty())
        return {Kind::failed,
                {},
                search.program + " ended without a prime: somebody stopped it, or it "
                                 "could not make its semaphore"};
    return {Kind::failed, {}, search.program + " wrote something that is no prime"};
}

} // namespace norv
