// What a caller on this system gets: the whole exit code, and its line ends.
#include "tests/end_to_end/run.h"

namespace
{

class ExitCode : public EndToEnd
{
};

TEST_F(ExitCode, CountsMoreCharactersThanEightBitsHold)
{
    const Ending ending =
        run({"-noPrompt", "-threads", "1", "-base", std::string(512, '7')});
    EXPECT_EQ(768, ending.exitCode);
    EXPECT_EQ(768U, ending.output.size());
}

TEST_F(ExitCode, IsNegativeForAnError)
{
    EXPECT_EQ(-1, run({"-threads", "1", "-base", "zz"}).exitCode);
    EXPECT_EQ(-1, run({"-base", "00FF", "-threads", "-1"}).exitCode);
    EXPECT_EQ(-2, run({"-threads", "1"}).exitCode);
}

TEST_F(ExitCode, IsThatOfAnAbortedProgramForAnImpossibleThreadCount)
{
    EXPECT_EQ(3, run({"-base", "00FF", "-threads", "-2"}).exitCode);
}

TEST_F(ExitCode, IsMinusOneWhenThreadsCannotBeWaitedFor)
{
    EXPECT_EQ(
        -1,
        run({"-noPrompt", "-base", std::string(512, 'F'), "-threads", "64"}).exitCode);
}

TEST_F(ExitCode, IsNoneTheLessThatOfAResultFor63Workers)
{
    EXPECT_EQ(
        48, run({"-noPrompt", "-base", std::string(32, '7'), "-threads", "63"}).exitCode);
}

class LineEnds : public EndToEnd
{
};

TEST_F(LineEnds, AreCarriageReturnAndLineFeed)
{
    const Ending ending = run({"-threads", "1", "-base", "77777777", "-outPrompt", "."});
    EXPECT_EQ("\r\nGeneration is started!\r\nPrime 32 bits in 1 threads.\r\n"
              "\r\nGeneration finished # seconds\r\nPrime 32 bits in 2 threads.\r\n"
              "Result:F7 77 76 4B ",
              withoutSeconds(ending.output));
}

TEST_F(LineEnds, OfStandardInputCountAsOneCharacter)
{
    // Six characters are asked for; each line end of this text is one.
    const Ending ending = run({"-noPrompt", "-threads", "1", "-input", "2"},
                              {Streams::Input::text, "0a\r\n1b\r\n"});
    EXPECT_EQ("88 EB ", ending.output);
    EXPECT_EQ(-1, run({"-noPrompt", "-threads", "1", "-input", "2"},
                      {Streams::Input::text, "0a\r\n1b"})
                      .exitCode);
}

} // namespace
