// The program for people and scripts. Each command is in a file of its own.
#include "ctl/check_command.h"
#include "ctl/compare.h"
#include "ctl/estimate.h"
#include "ctl/estimate_command.h"
#include "ctl/generate.h"
#include "ctl/message.h"
#include "ctl/options.h"
#include "ctl/output_file.h"
#include "ctl/stop.h"
#include "platform/arguments.h"
#include "platform/dependent.h"
#include "platform/process.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

namespace
{

// One line, in one piece. There may be no memory for a string.
void sayInOnePiece(const char* what, const char* why)
{
    std::array<char, 256> line{};
    std::snprintf(line.data(), line.size(), "norvctl: %s%s\n", what, why);
    static_cast<void>(std::fwrite(line.data(), 1, std::strlen(line.data()), stderr));
    std::fflush(stderr);
}

void sayWhy(const std::exception_ptr& exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const std::bad_alloc&) {
        sayInOnePiece("there is not enough memory", "");
    } catch (const std::exception& error) {
        sayInOnePiece("a resource of the system is short: ", error.what());
    }
}

// Ends the process where an exception is not caught: memory is short, or another resource
// of the system. Where there is another way, the code that meets it takes that way.
// Dependents end with this process.
[[noreturn]] void endForException()
{
    if (const std::exception_ptr exception = std::current_exception())
        sayWhy(exception);
    endProcess(exitNo);
}

int leave(const Leave& leave)
{
    if (leave.exitCode != 0) {
        say(leave.text);
        return leave.exitCode;
    }
    Output output;
    const std::string failure = addResult(output, leave.text);
    if (!failure.empty())
        say(failure);
    return failure.empty() ? 0 : exitNo;
}

int run(const Options& options)
{
    switch (options.command) {
    case Options::Command::check:
        return check(options);
    case Options::Command::compare:
        return compare(options);
    case Options::Command::stop:
        return stop(options.semaphore);
    case Options::Command::estimate:
        return tellEstimate(options);
    default:
        return generate(options);
    }
}

} // namespace

int main(int count, char** arguments)
{
    becomeDependent(count, arguments);
    prepareProcess();
    std::set_terminate(endForException);
    const std::variant<Options, Leave> read =
        readOptions(argumentsOf(count, arguments), usableProcessors());
    if (const Leave* end = std::get_if<Leave>(&read))
        return leave(*end);
    return run(std::get<Options>(read));
}
