// Other processes, as the caller of a console program has them: arguments and
// standard input in, standard output and an exit code out.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

// The standard streams of a process to start.
struct Streams {
    enum class Input {
        text,        // inputText, then its end
        textAndOpen, // inputText, and no end while the process runs
        closed       // no standard input at all
    };
    enum class Output {
        collected,
        unread, // a pipe that nobody reads
        closed  // no standard output at all
    };

    Input input = Input::text;
    std::string inputText = {}; // bytes, unchanged
    Output output = Output::collected;
};

// How a process ended.
struct Ending {
    bool inTime = false;     // false: it had to be killed
    int exitCode = 0;        // as its parent sees it
    std::string output = {}; // all of standard output, unless it was not collected
    std::string errors = {}; // all of standard error
};

// A started process. One thread at a time.
class Process
{
public:
    // Longer than anything that a test starts needs on a slow, busy machine.
    static constexpr std::chrono::seconds timeLimit{100};

    // Starts `program` with these arguments (the program's own name not among
    // them; UTF-8, or any bytes where the system passes them on). Throws
    // std::runtime_error when it cannot be started.
    Process(const std::string& program, const std::vector<std::string>& arguments,
            const Streams& streams = {});
    // Kills it when it still runs.
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Whether it has not ended yet.
    bool isRunning();

    // The system's number of it.
    int id() const;

    // Ends it at once, wherever it is. wait() tells nothing useful about how.
    void kill();

    // Waits until it has ended, for the time limit at most; then kills it. Its
    // output is read meanwhile. Once.
    Ending wait();

private:
    struct Native;
    std::unique_ptr<Native> native_;
};

// What a parent sees of `exitCode`: the low 8 bits or all 32 of them, as the
// system has it.
int seenExitCode(int exitCode);

// Whether the process did not end by itself but by a signal, an exception that
// nobody caught or the like.
bool endedAbnormally(const Ending& ending);

// `text`, with the line ends ("\n") that a program's standard output gets.
std::string withNativeLineEnds(const std::string& text);
