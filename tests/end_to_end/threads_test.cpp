// Thread counts that no search can be waited for with.
#include "tests/end_to_end/run.h"
#include "tests/support/prime_check.h"

namespace
{

// Too large for a prime to be found before the run ends, however long a slow machine
// makes threads: a safe prime of this size takes hours.
const std::string large(1024, 'F');

class Threads : public EndToEnd
{
};

TEST_F(Threads, OfMinusOneEndTheRunAtOnce)
{
    expectEnding(-1, started("Prime", 16, -1), run({"-base", "00FF", "-threads", "-1"}));
}

TEST_F(Threads, BelowMinusOneEndTheProgramAbnormally)
{
    const Ending ending = run({"-noPrompt", "-base", "00FF", "-threads", "-2"});
    EXPECT_TRUE(ending.inTime);
    EXPECT_TRUE(endedAbnormally(ending));
    EXPECT_EQ("", ending.output);
    EXPECT_EQ("", ending.errors);
}

TEST_F(Threads, MayBe63)
{
    // 64 with the stop watcher: as many as one wait takes.
    const Ending ending =
        run({"-noPrompt", "-base", std::string(32, '7'), "-threads", "63"});
    EXPECT_EQ(exitCodeFor(128), ending.exitCode);
    EXPECT_EQ(48U, ending.output.size());
}

class TooManyThreads : public EndToEnd, public testing::WithParamInterface<int>
{
};

TEST_P(TooManyThreads, EndTheRunWithoutAResult)
{
    expectEnding(-1, "",
                 run({"-noPrompt", "-safe", "-base", large, "-threads",
                      std::to_string(GetParam())}));
}

TEST_P(TooManyThreads, EndTheRunAfterItsStartMessage)
{
    const Ending ending =
        run({"-base", large, "-safe", "-threads", std::to_string(GetParam())});
    EXPECT_EQ(seenExitCode(-1), ending.exitCode);
    const std::string before =
        withNativeLineEnds(started("Safe prime", 4096, GetParam()));
    EXPECT_EQ(before, ending.output.substr(0, before.size()));
    EXPECT_EQ(std::string::npos, ending.output.find_first_not_of(".*!", before.size()));
}

TEST_P(TooManyThreads, LeaveNoSemaphoreBehind)
{
    run({"-noPrompt", "-safe", "-base", large, "-threads", std::to_string(GetParam())});
    EXPECT_FALSE(existsForeign(semaphoreName));
}

TEST_P(TooManyThreads, MayFindAPrimeThatStandsThereAlready)
{
    // The workers run at once. So small a job is done before the last of a thousand is
    // made; of fewer it may be.
    const int runs = GetParam() >= 1000 ? 8 : 3;
    int results = 0;
    for (int i = 0; i < runs; ++i) {
        const Ending ending =
            run({"-noPrompt", "-base", "0A1B", "-threads", std::to_string(GetParam())});
        if (ending.exitCode == seenExitCode(-1)) {
            expectEnding(-1, "", ending);
            continue;
        }
        expectEnding(6, ending.output, ending);
        EXPECT_EQ(16, bitsOf(digitsOf(ending.output)));
        EXPECT_TRUE(isPrime(digitsOf(ending.output), false));
        ++results;
    }
    if (GetParam() >= 1000) {
        EXPECT_LT(0, results);
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, TooManyThreads, testing::Values(64, 100, 1000),
                         testing::PrintToStringParamName());

} // namespace
