// The progress marks of a run, one character an event.
#include "tests/end_to_end/run.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

namespace
{

// What one worker does above a base: its marks and its result.
struct Expected {
    std::string marks;
    std::string result;
};

// The marks do not depend on the random witnesses: a composite that passes one
// iteration is rarer than a fault of the machine.
Expected expectedAbove(const std::string& base, int bits, bool safe)
{
    constexpr int iterations = 64;
    constexpr unsigned long anyWitness = 2;
    const oracle::Outcome outcome = oracle::searchWithWitness(
        windowStart(base, bits, 1), {bits, safe}, iterations, anyWitness);
    Expected expected{"", resultText(outcome.prime)};
    for (const Event& event : outcome.events)
        expected.marks += ".*!"[event.code];
    return expected;
}

const std::string base(32, '7');

class Progress : public EndToEnd
{
protected:
    // A run of one worker above the base.
    Ending search(Arguments options) const
    {
        options.insert(options.end(), {"-threads", "1", "-base", base});
        return run(options);
    }

    const TemporaryFolder folder;
};

TEST_F(Progress, ShowsADotForEachCandidateAndAStarForEachPassedIteration)
{
    const Expected expected = expectedAbove(base, 128, false);
    ASSERT_EQ(expected.marks.size() - 64, expected.marks.find(std::string(64, '*')));
    expectEnding(48,
                 started("Prime", 128, 1) + expected.marks + finished("Prime", 128, 1) +
                     "Result:" + expected.result,
                 search({}));
}

TEST_F(Progress, ShowsAnExclamationMarkForEachPassedTurnOfASafePrime)
{
    const Expected expected = expectedAbove(base, 128, true);
    ASSERT_NE(std::string::npos, expected.marks.find(".**!**!**!"));
    expectEnding(48,
                 started("Safe prime", 128, 1) + expected.marks +
                     finished("Safe prime", 128, 1) + "Result:" + expected.result,
                 search({"-safe"}));
}

TEST_F(Progress, IsNotShownByAQuietRun)
{
    expectEnding(48, expectedAbove(base, 128, false).result, search({"-noPrompt"}));
}

TEST_F(Progress, GoesToAFileInPlaceOfStandardOutput)
{
    const Expected expected = expectedAbove(base, 128, false);
    expectEnding(48,
                 started("Prime", 128, 1) + finished("Prime", 128, 1) +
                     "Result:" + expected.result,
                 search({"-outPrompt", asArgument(folder / "marks")}));
    EXPECT_EQ(expected.marks, contentOf(folder / "marks"));
}

TEST_F(Progress, GoesToAFileInAQuietRunToo)
{
    const Expected expected = expectedAbove(base, 128, true);
    expectEnding(
        48, expected.result,
        search({"-safe", "-noPrompt", "-outPrompt=" + asArgument(folder / "marks")}));
    EXPECT_EQ(expected.marks, contentOf(folder / "marks"));
}

TEST_F(Progress, IsAppendedToWhatStandsInTheFile)
{
    writeFile(folder / "marks", "before");
    search({"-outPrompt", asArgument(folder / "marks")});
    EXPECT_EQ("before" + expectedAbove(base, 128, false).marks,
              contentOf(folder / "marks"));
}

TEST_F(Progress, IsLostWhenTheFileCannotBeOpened)
{
    const Ending ending =
        search({"-outPrompt", asArgument(folder / "missing" / "marks")});
    expectEnding(48,
                 started("Prime", 128, 1) + finished("Prime", 128, 1) +
                     "Result:" + expectedAbove(base, 128, false).result,
                 ending);
}

TEST_F(Progress, GoesToAFileWhoseNameIsNotAscii)
{
    const auto name = std::filesystem::path(u8"gr\u00f6\u00dfe \u7d20\u6570.txt");
    search({"-outPrompt", asArgument(folder / name)});
    EXPECT_EQ(expectedAbove(base, 128, false).marks, contentOf(folder / name));
}

TEST_F(Progress, OfSeveralWorkersGoesToTheFileInWholeMarks)
{
    const Ending ending = run({"-noPrompt", "-threads", "4", "-base", base, "-outPrompt",
                               asArgument(folder / "marks")});
    EXPECT_EQ(exitCodeFor(128), ending.exitCode);
    const std::string marks = contentOf(folder / "marks");
    EXPECT_EQ(std::string::npos, marks.find_first_not_of(".*"));
    EXPECT_LE(64, std::count(marks.begin(), marks.end(), '*'));
}

} // namespace
