// Runs that other processes stop, by the semaphore they share.
#include "tests/end_to_end/run.h"

#include <memory>

namespace
{

// No search finds its prime before the test has stopped it: a safe prime of this
// size takes hours.
const std::string hopeless(1024, 'F');

class Stop : public EndToEnd
{
protected:
    std::unique_ptr<Process> startOwned(const Arguments& arguments) const
    {
        return std::make_unique<Process>(NORV_PROGRAM, withSemaphore(arguments));
    }
};

TEST_F(Stop, EndsARunWithoutWorkersWithoutAResult)
{
    Process waiting = start({"-base", "00FF"});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(waiting.isRunning());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, started("Prime", 16, 0), waiting.wait());
}

TEST_F(Stop, EndsARunOfZeroThreads)
{
    Process waiting = start({"-base", "00FF", "-threads", "0", "-safe"});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(waiting.isRunning());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, started("Safe prime", 16, 0), waiting.wait());
}

TEST_F(Stop, EndsARunWhoseThreadOptionStandsLast)
{
    Process waiting = start({"-base", "00FF", "-threads", "4", "-threads"});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, started("Prime", 16, 0), waiting.wait());
}

TEST_F(Stop, EndsASearchWithoutAResult)
{
    Process searching = start({"-safe", "-noPrompt", "-threads", "3", "-base", hopeless});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, "", searching.wait());
}

TEST_F(Stop, ShowsTheStartAndTheMarksOfASearchWithoutAResult)
{
    Process searching = start({"-safe", "-threads", "2", "-base", hopeless});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    const Ending ending = searching.wait();
    EXPECT_EQ(seenExitCode(-1), ending.exitCode);
    const std::string before = withNativeLineEnds(started("Safe prime", 4096, 2));
    EXPECT_EQ(before, ending.output.substr(0, before.size()));
    EXPECT_EQ(std::string::npos, ending.output.find_first_not_of(".*!", before.size()));
}

TEST_F(Stop, IsSeenByARunThatFindsTheSemaphoreReleased)
{
    ASSERT_TRUE(createForeign(semaphoreName, 1));
    expectEnding(-1, "", run({"-safe", "-noPrompt", "-threads", "2", "-base", hopeless}));
    EXPECT_EQ(0, countForeign(semaphoreName));
    removeForeign(semaphoreName);
}

TEST_F(Stop, LeavesTheSemaphoreOfAnotherProgramInPlace)
{
    ASSERT_TRUE(createForeign(semaphoreName, 0));
    Process waiting = start({"-base", "00FF"});
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, started("Prime", 16, 0), waiting.wait());
    EXPECT_TRUE(existsForeign(semaphoreName));
    removeForeign(semaphoreName);
}

TEST_F(Stop, EndsOneRunForEachRelease)
{
    const auto first = startOwned({"-base", "00FF"});
    const auto second = startOwned({"-base", "00FF"});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    ASSERT_TRUE(comesTrue([&] { return !first->isRunning() || !second->isRunning(); }));
    EXPECT_TRUE(first->isRunning() || second->isRunning());

    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, started("Prime", 16, 0), first->wait());
    expectEnding(-1, started("Prime", 16, 0), second->wait());
}

TEST_F(Stop, OfAFinishedSearchReachesTheRunThatSharesTheSemaphore)
{
    // Each search releases the semaphore once or more. The first release mostly
    // wakes the run that waited first; a search that got it itself is repeated.
    Process waiting = start({"-base", "00FF"});
    ASSERT_TRUE(semaphoreAppears());
    do {
        const Ending ending = run({"-noPrompt", "-threads", "1", "-base", "00FF"});
        ASSERT_EQ(seenExitCode(6), ending.exitCode);
    } while (waiting.isRunning() && existsForeign(semaphoreName) && !HasFailure());
    expectEnding(-1, started("Prime", 16, 0), waiting.wait());
}

TEST_F(Stop, OfAKilledRunIsNotSeenByTheNext)
{
    const auto killed = startOwned({"-base", "00FF"});
    ASSERT_TRUE(semaphoreAppears());
    killed->kill();
    killed->wait();
    // What is left of the name, if the system leaves any, counts 1 now.
    postForeign(semaphoreName);

    // From just above 2 to the 1023: a stop at the start would come before the
    // first of the iterations that this result needs.
    const Ending next =
        run({"-noPrompt", "-threads", "1", "-base", std::string(256, '0')});
    EXPECT_EQ(exitCodeFor(1024), next.exitCode);
    EXPECT_EQ(384U, next.output.size());
}

} // namespace
