#include "tests/support/process.h"

#include <array>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>
#include <windows.h>

namespace
{

class Handle
{
public:
    explicit Handle(HANDLE handle = nullptr)
        : handle_(handle)
    {
    }
    Handle(Handle&& other) noexcept
        : handle_(std::exchange(other.handle_, nullptr))
    {
    }
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle()
    {
        reset();
    }
    void reset()
    {
        if (handle_)
            CloseHandle(std::exchange(handle_, nullptr));
    }
    HANDLE get() const
    {
        return handle_;
    }

private:
    HANDLE handle_;
};

[[noreturn]] void fail(const std::string& what)
{
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            what);
}

struct Pipe {
    Handle read;
    Handle write;
};

Pipe makePipe()
{
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, nullptr, 0))
        fail("CreatePipe");
    return {Handle(read), Handle(write)};
}

// The end of a pipe that the new process gets. All that could inherit it until
// it is closed here is that process: tests start one after the other.
HANDLE inheritable(const Handle& handle)
{
    SetHandleInformation(handle.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return handle.get();
}

std::wstring wide(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    std::wstring result(text.size(), L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result.data(),
                                           static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

// As the program's own callers write it, with no quote inside quotes: the whole
// line reaches the program as it is.
std::wstring quoted(const std::wstring& argument)
{
    const bool needed = argument.empty() || argument.find(L' ') != std::wstring::npos;
    return needed ? L'"' + argument + L'"' : argument;
}

std::wstring lineOf(const std::wstring& program,
                    const std::vector<std::string>& arguments)
{
    std::wstring line = quoted(program);
    for (const std::string& argument : arguments)
        line += L' ' + quoted(wide(argument));
    return line;
}

// Null in place of a stream means that there is none.
struct ChildStreams {
    HANDLE input;
    HANDLE output;
    HANDLE errors;
};

Handle spawn(const std::string& program, const std::vector<std::string>& arguments,
             const ChildStreams& streams)
{
    const std::wstring path =
        std::filesystem::absolute(wide(program)).make_preferred().wstring();
    std::wstring line = lineOf(path, arguments);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = streams.input;
    startup.hStdOutput = streams.output;
    startup.hStdError = streams.errors;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                        nullptr, &startup, &started))
        fail(program);
    CloseHandle(started.hThread);
    return Handle(started.hProcess);
}

// Reads until nobody can write any more.
void readAll(const Handle& pipe, std::string& text)
{
    std::array<char, 4096> block{};
    DWORD count = 0;
    while (ReadFile(pipe.get(), block.data(), static_cast<DWORD>(block.size()), &count,
                    nullptr))
        text.append(block.data(), count);
}

// Until all is written or nobody can read any more.
void writeAll(const Handle& pipe, const std::string& text)
{
    DWORD count = 0;
    for (std::size_t written = 0; written < text.size(); written += count)
        if (!WriteFile(pipe.get(), text.data() + written,
                       static_cast<DWORD>(text.size() - written), &count, nullptr))
            return;
}

} // namespace

// A thread serves each pipe. They end with the process: no other holds its ends.
struct Process::Native {
    Handle process;
    Handle input;
    Handle output;
    Handle errors;
    std::thread writer;
    std::thread outputReader;
    std::thread errorReader;
    Ending ending;

    void serve(const Streams& streams)
    {
        writer = std::thread([this, text = streams.inputText,
                              staysOpen = streams.input == Streams::Input::textAndOpen] {
            writeAll(input, text);
            if (!staysOpen)
                input.reset();
        });
        if (output.get())
            outputReader = std::thread([this] { readAll(output, ending.output); });
        errorReader = std::thread([this] { readAll(errors, ending.errors); });
    }

    // Waits for the end without limit.
    void reap()
    {
        WaitForSingleObject(process.get(), INFINITE);
        for (std::thread* thread : {&writer, &outputReader, &errorReader})
            if (thread->joinable())
                thread->join();
        DWORD code = 0;
        GetExitCodeProcess(process.get(), &code);
        ending.exitCode = static_cast<int>(code);
    }
};

Process::Process(const std::string& program, const std::vector<std::string>& arguments,
                 const Streams& streams)
    : native_(std::make_unique<Native>())
{
    Pipe input = makePipe();
    Pipe output = makePipe();
    Pipe errors = makePipe();
    if (streams.output != Streams::Output::collected)
        output.read.reset();
    const bool hasInput = streams.input != Streams::Input::closed;
    const bool hasOutput = streams.output != Streams::Output::closed;
    native_->process = spawn(program, arguments,
                             {hasInput ? inheritable(input.read) : nullptr,
                              hasOutput ? inheritable(output.write) : nullptr,
                              inheritable(errors.write)});
    native_->input = std::move(input.write);
    native_->output = std::move(output.read);
    native_->errors = std::move(errors.read);
    // Only the process may hold its ends from here on.
    input.read.reset();
    output.write.reset();
    errors.write.reset();
    native_->serve(streams);
}

Process::~Process()
{
    kill();
    native_->reap();
}

bool Process::isRunning()
{
    return WaitForSingleObject(native_->process.get(), 0) == WAIT_TIMEOUT;
}

int Process::id() const
{
    return static_cast<int>(GetProcessId(native_->process.get()));
}

void Process::kill()
{
    constexpr UINT killed = 9;
    TerminateProcess(native_->process.get(), killed);
}

Ending Process::wait()
{
    const auto limit = std::chrono::milliseconds(timeLimit);
    native_->ending.inTime =
        WaitForSingleObject(native_->process.get(), static_cast<DWORD>(limit.count())) ==
        WAIT_OBJECT_0;
    if (!native_->ending.inTime)
        kill();
    native_->reap();
    return native_->ending;
}

int seenExitCode(int exitCode)
{
    return exitCode;
}

bool endedAbnormally(const Ending& ending)
{
    // The runtime's code for an aborted program, or the system's for a fault.
    constexpr unsigned aborted = 3;
    constexpr unsigned faultPrefix = 0xC;
    const auto code = static_cast<unsigned>(ending.exitCode);
    return code == aborted || code >> 28 == faultPrefix;
}

std::string withNativeLineEnds(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        if (character == '\n')
            result += '\r';
        result += character;
    }
    return result;
}
