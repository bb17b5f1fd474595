// The stop semaphore as an object of this system: its names and its lifetime.
#include "tests/end_to_end/run.h"

#include <memory>
#include <windows.h>

namespace
{

// No search finds its prime before the test has stopped it.
const std::string hopeless(1024, 'F');

struct Form {
    const char* name;
    const wchar_t* prefix;
    const wchar_t* suffix;
};

class SemaphoreName : public EndToEnd, public testing::WithParamInterface<Form>
{
protected:
    SemaphoreName()
        : EndToEnd(GetParam().prefix + uniqueSemaphoreName() + GetParam().suffix)
    {
    }
};

TEST_P(SemaphoreName, IsTakenForARelease)
{
    Process waiting = start({"-base", "00FF"});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(waiting.isRunning());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, started("Prime", 16, 0), waiting.wait());
}

TEST_P(SemaphoreName, StopsASearch)
{
    Process searching = start({"-safe", "-noPrompt", "-threads", "2", "-base", hopeless});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, "", searching.wait());
}

TEST_P(SemaphoreName, LetsASearchEndItself)
{
    expectEnding(6, "88 EB ", run({"-noPrompt", "-threads", "1", "-base", "0A1B"}));
}

INSTANTIATE_TEST_SUITE_P(Forms, SemaphoreName,
                         testing::Values(Form{"Global", L"Global\\", L""},
                                         Form{"Local", L"Local\\", L""},
                                         Form{"Slash", L"", L"/part"},
                                         Form{"Plain", L"", L""}),
                         [](const auto& tested) { return tested.param.name; });

class Semaphore : public EndToEnd
{
protected:
    // A run that waits for a stop, killed.
    void killOne() const
    {
        const Process started = start({"-base", "00FF"});
        ASSERT_TRUE(semaphoreAppears());
    }
};

TEST_F(Semaphore, WithABackslashInItsNameStopsTheSearchAtOnce)
{
    semaphoreName += L"\\part";
    expectEnding(-1, "", run({"-safe", "-noPrompt", "-threads", "2", "-base", hopeless}));
}

TEST_F(Semaphore, GoesWithAKilledRun)
{
    killOne();
    EXPECT_FALSE(existsForeign(semaphoreName));
}

TEST_F(Semaphore, StartsAfreshAfterAKilledRun)
{
    {
        const Process holder = start({"-base", "00FF"});
        ASSERT_TRUE(semaphoreAppears());
        EXPECT_EQ(0, countForeign(semaphoreName));
    }
    EXPECT_FALSE(postForeign(semaphoreName));
    const Process next = start({"-base", "00FF"});
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_EQ(0, countForeign(semaphoreName));
}

TEST_F(Semaphore, StaysAfterAKilledRunWhileAnotherProgramHoldsIt)
{
    const std::unique_ptr<void, decltype(&CloseHandle)> foreign(
        [this] {
            const Process holder = start({"-base", "00FF"});
            EXPECT_TRUE(semaphoreAppears());
            return OpenSemaphoreW(SYNCHRONIZE, FALSE, semaphoreName.c_str());
        }(),
        CloseHandle);
    ASSERT_NE(nullptr, foreign);
    EXPECT_TRUE(postForeign(semaphoreName));
    // The next run meets the release.
    expectEnding(-1, started("Prime", 16, 0), run({"-base", "00FF"}));
}

TEST_F(Semaphore, WithoutANameIsReachedByNobody)
{
    // Not even by the workers: the run has found its prime and does not end.
    Process searching(NORV_PROGRAM,
                      {"-stopSemaphoreName", "", "-threads", "1", "-base", "0A1B"});
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_TRUE(searching.isRunning());
}

} // namespace
