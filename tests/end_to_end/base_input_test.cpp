// The base as callers hand it over. Each result is the first prime one window
// above the base, which a single worker finds.
#include "tests/end_to_end/run.h"

namespace
{

constexpr char firstAbove0A1B[] = "88 EB ";

class BaseInput : public EndToEnd
{
protected:
    // A quiet run of one worker.
    Ending quiet(Arguments arguments, const Streams& streams = {}) const
    {
        arguments.insert(arguments.begin(), {"-noPrompt", "-threads", "1"});
        return run(arguments, streams);
    }

    static Streams text(const std::string& input)
    {
        return {Streams::Input::text, input};
    }
};

TEST_F(BaseInput, TakesTheSizeFromTheDigitsAndNotFromTheNumber)
{
    expectEnding(6, "FF D9 ", quiet({"-base", "00FF"}));
}

TEST_F(BaseInput, TakesBlanksBetweenPairs)
{
    expectEnding(6, firstAbove0A1B, quiet({"-base", "0a  1B"}));
}

TEST_F(BaseInput, FailsWithoutAByte)
{
    for (const char* digits : {"0x12", ""})
        expectEnding(-1, "", run({"-threads", "1", "-base", digits}));
}

TEST_F(BaseInput, RepeatsTheFirstCharacterOfATestText)
{
    expectEnding(12, "F7 77 76 4B ", quiet({"-input", "8", "-test", "7"}));
}

TEST_F(BaseInput, ReadsThreeCharactersAByteAndWaitsForNoMore)
{
    expectEnding(6, firstAbove0A1B,
                 quiet({"-input", "2"}, {Streams::Input::textAndOpen, "0a 1b "}));
}

TEST_F(BaseInput, ReadsLinesThatEndAsOnWindows)
{
    expectEnding(6, firstAbove0A1B, quiet({"-input", "2"}, text("0a\r\n1b\r\n")));
}

TEST_F(BaseInput, FailsWithoutStandardInput)
{
    expectEnding(-1, "", quiet({"-input", "2"}, {Streams::Input::closed}));
}

TEST_F(BaseInput, AsksForTheBytesAndFailsWhenTheyEndEarly)
{
    expectEnding(-1, "Please enter hex 2 bytes:\n",
                 run({"-threads", "1", "-input", "2"}, text("0a1b")));
}

TEST_F(BaseInput, AsksBeforeItTellsOfTheStart)
{
    const Ending ending = run({"-threads", "-1", "-input", "2"}, text("0a 1b "));
    expectEnding(-1, "Please enter hex 2 bytes:\n" + started("Prime", 16, -1), ending);
}

TEST_F(BaseInput, AsksForNothingWhenItHasABase)
{
    // Standard input stays open: a read of it would not end.
    const Ending ending = run({"-threads", "-1", "-input", "2", "-base", "0A1B0A1B"},
                              {Streams::Input::textAndOpen});
    expectEnding(-1, started("Prime", 32, -1), ending);
}

} // namespace
