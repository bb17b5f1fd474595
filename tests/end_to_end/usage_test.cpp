#include "tests/end_to_end/run.h"

namespace
{

const std::string usage =
    "Prime generation utility 64, v.1.0 Copyright 2026 the norv authors\n"
    "Usage:\n"
    "> norv.exe <-options>\n"
    "Options:\n"
    "     threads [number]         - number of separate threads are used for "
    "generation.\n"
    "     stopSemaphoreName [name] - name of semaphire which stops generation\n"
    "     base [hex string]        - hex string with base number\n"
    "     input [bytes]            - number ofbutes to read from stdin for base number\n"
    "     safe                     - generate safe prime\n"
    "Result:\n"
    " If success writes result as hex string to stdout, returns number of written "
    "bytes, \n"
    " otherwise return negative error value.\n"
    "Sample:\n"
    "> norv.exe -threads 8 -input 32 -safe\n";

class Usage : public EndToEnd
{
};

TEST_F(Usage, AnswersAQuestionMark)
{
    expectEnding(0, usage, run({"?"}));
}

TEST_F(Usage, WinsOverEveryOtherOption)
{
    expectEnding(0, usage,
                 run({"-threads", "2", "-base", "FF", "?", "-safe", "-noPrompt"}));
}

TEST_F(Usage, IsNotPrintedForWantOfABase)
{
    expectEnding(-2, "", run({"-threads", "2"}));
}

TEST_F(Usage, IsNotPrintedWithoutArguments)
{
    expectEnding(-2, "", Process(NORV_PROGRAM, {}).wait());
}

} // namespace
