#include "ctl/check_command.h"

#include "ctl/check_text.h"
#include "ctl/generate.h"
#include "ctl/input_file.h"
#include "ctl/message.h"
#include "ctl/norv_process.h"
#include "ctl/output_file.h"
#include "platform/dependent.h"

namespace
{

int checkInput(const Options& options)
{
    const std::variant<SecretText, ReadError> read =
        readInput(options.file, maxCheckedBytes);
    if (const ReadError* error = std::get_if<ReadError>(&read)) {
        say("cannot read " + options.file + ": " + error->why);
        return exitUsage;
    }
    RepeatSearch repeat;
    if (options.replay)
        repeat = [&options](const BIGNUM* base, int bits, bool safe) {
            return repeatSearch(options, base, bits, safe);
        };
    CheckAnswer answer = checkText(std::get<SecretText>(read).text, options.safe, repeat);
    Output output;
    const std::string failure =
        answer.answer.empty() ? std::string() : addResult(output, answer.answer);
    if (!answer.error.empty())
        say(answer.error);
    if (failure.empty())
        return answer.exitCode;
    say(failure);
    return exitNo;
}

} // namespace

int check(const Options& options)
{
    if (!options.replay)
        return checkInput(options);
    // Before the file is read: the process that this makes must not have what is in it.
    if (!prepareForDependents()) {
        say(noRoom);
        return exitNorv;
    }
    const int exitCode = checkInput(options);
    finishWithDependents();
    return exitCode;
}
