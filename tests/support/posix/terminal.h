// A terminal that a test looks at, and programs whose standard output is a file that
// the test names.
#pragma once

#include <string>
#include <vector>

// A pseudo-terminal for one program, in raw mode: what is written to it is shown as it
// is. It is never a controlling terminal.
class Terminal
{
public:
    // Throws std::system_error when the system has none to give.
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // The file that stands for it.
    const std::string& path() const
    {
        return path_;
    }

    // So many characters fit in a line. Throws std::system_error when the system refuses.
    void setWidth(unsigned short characters);

    // Waits until `text` has been shown, for Process::timeLimit at most. False when it
    // was not, or when the program ended first.
    bool shows(const std::string& text);

    // All that was shown so far.
    const std::string& shown();

private:
    // Takes what is shown next. False at the end or when the time is over.
    bool readMore(int milliseconds);

    int screen_;
    std::string path_;
    std::string shown_;
};

// The program that starts another with its standard output to a file.
inline constexpr char shell[] = "/bin/sh";

// The arguments with which the shell becomes `program`, standard output to `path`.
std::vector<std::string> outputTo(const std::string& path, const std::string& program,
                                  const std::vector<std::string>& arguments);
