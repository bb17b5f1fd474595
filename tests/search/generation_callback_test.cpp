#include "search/generation_callback.h"

#include "prime/events.h"
#include "prime/prime_generation.h"
#include "tests/platform/run_threads.h"
#include "tests/platform/temporary_folder.h"
#include "tests/search/search_fixture.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

namespace
{

// What standard output receives between two points of a test. Always taken, as
// GoogleTest keeps only one capture.
class Output
{
public:
    Output()
    {
        std::fflush(stdout);
        testing::internal::CaptureStdout();
    }
    std::string take()
    {
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
};

class GenerationCallback : public SharedStateTest
{
protected:
    void progressTo(const std::filesystem::path& path)
    {
        path_ = path.wstring();
        outPrompt = path_.c_str();
    }

    int event(int code, int counter = 0)
    {
        return callBack2(code, counter, callback.get());
    }

    TemporaryFolder folder;
    OneWayFlag stopFlag{0};
    OwnedCallback callback = makeCallback(stopFlag);

private:
    std::wstring path_;
};

TEST_F(GenerationCallback, ShowsACandidateAsADot)
{
    EXPECT_EQ('.', progressChar(candidateEvent));
}

TEST_F(GenerationCallback, ShowsAPassedIterationAsAStar)
{
    EXPECT_EQ('*', progressChar(iterationEvent));
}

TEST_F(GenerationCallback, ShowsAPassedSafePrimeTurnAsAnExclamationMark)
{
    EXPECT_EQ('!', progressChar(turnEvent));
}

TEST_F(GenerationCallback, ShowsAnyOtherEventAsADot)
{
    for (const int code : {3, 4, -1, 256, 257, 2147483647, -2147483647 - 1})
        EXPECT_EQ('.', progressChar(code)) << code;
}

// The numbers themselves: they are the contract of the callback.
TEST_F(GenerationCallback, PrintsOneMarkAnEventAndNothingElse)
{
    Output output;
    for (const int code : {0, 1, 1, 2, 7})
        event(code);
    EXPECT_EQ(".**!.", output.take());
}

TEST_F(GenerationCallback, PrintsNothingWhenPromptsAreOff)
{
    noPrompt = 1;
    Output output;
    for (const int code : {candidateEvent, iterationEvent, turnEvent, 3})
        event(code);
    EXPECT_EQ("", output.take());
}

TEST_F(GenerationCallback, LetsTheSearchGoOnWhileTheFlagIsNotSet)
{
    noPrompt = 1;
    for (const int code : {candidateEvent, iterationEvent, turnEvent, 3, -1})
        EXPECT_EQ(1, event(code)) << code;
}

TEST_F(GenerationCallback, StopsTheSearchAtEveryEventOnceTheFlagIsSet)
{
    noPrompt = 1;
    stopFlag = 1;
    for (const int code :
         {candidateEvent, iterationEvent, turnEvent, 3, -1, candidateEvent})
        EXPECT_EQ(0, event(code)) << code;
}

TEST_F(GenerationCallback, StillShowsTheEventThatSeesTheStop)
{
    stopFlag = 1;
    Output output;
    event(iterationEvent);
    EXPECT_EQ("*", output.take());
}

TEST_F(GenerationCallback, StillAppendsTheEventThatSeesTheStop)
{
    progressTo(folder / "progress");
    stopFlag = 1;
    EXPECT_EQ(0, event(turnEvent));
    EXPECT_EQ("!", contentOf(folder / "progress"));
}

TEST_F(GenerationCallback, TakesNoNoticeOfTheCounter)
{
    Output output;
    for (const int counter : {0, 1, -1, 2147483647})
        EXPECT_EQ(1, event(iterationEvent, counter));
    stopFlag = 1;
    for (const int counter : {0, 1, -1, 2147483647})
        EXPECT_EQ(0, event(candidateEvent, counter));
    EXPECT_EQ("****....", output.take());
}

TEST_F(GenerationCallback, AppendsOneMarkAnEventToTheProgressFile)
{
    progressTo(folder / "progress");
    event(candidateEvent);
    EXPECT_EQ(".", contentOf(folder / "progress"));
    event(iterationEvent);
    EXPECT_EQ(".*", contentOf(folder / "progress"));
    event(turnEvent);
    event(9);
    EXPECT_EQ(".*!.", contentOf(folder / "progress"));
}

TEST_F(GenerationCallback, PrintsNothingWhenThereIsAProgressFile)
{
    progressTo(folder / "progress");
    Output output;
    for (const int code : {candidateEvent, iterationEvent, turnEvent})
        event(code);
    EXPECT_EQ("", output.take());
}

TEST_F(GenerationCallback, AppendsToAFileThatExists)
{
    writeFile(folder / "progress", "before\n");
    progressTo(folder / "progress");
    event(candidateEvent);
    event(iterationEvent);
    EXPECT_EQ("before\n.*", contentOf(folder / "progress"));
}

TEST_F(GenerationCallback, AppendsAlsoWhenPromptsAreOff)
{
    noPrompt = 1;
    progressTo(folder / "progress");
    event(turnEvent);
    EXPECT_EQ("!", contentOf(folder / "progress"));
}

TEST_F(GenerationCallback, KeepsNoFileOpenBetweenEvents)
{
    progressTo(folder / "progress");
    event(candidateEvent);
    std::filesystem::rename(folder / "progress", folder / "moved");
    event(iterationEvent);
    EXPECT_EQ(".", contentOf(folder / "moved"));
    EXPECT_EQ("*", contentOf(folder / "progress"));
}

TEST_F(GenerationCallback, LosesOnlyTheMarksThatTheFileCannotTake)
{
    // A folder stands where the file should be, and goes.
    std::filesystem::create_directory(folder / "progress");
    progressTo(folder / "progress");
    Output output;
    EXPECT_EQ(1, event(candidateEvent));
    stopFlag = 1;
    EXPECT_EQ(0, event(candidateEvent));
    std::filesystem::remove(folder / "progress");
    EXPECT_EQ(0, event(iterationEvent));
    EXPECT_EQ("", output.take());
    EXPECT_EQ("*", contentOf(folder / "progress"));
}

constexpr int eventsOfEach = 500;

std::uint32_t emitEvents(void* callback)
{
    for (int i = 0; i < eventsOfEach; ++i)
        callBack2(i % 3, i, static_cast<GenCallback*>(callback));
    return 0;
}

void expectMarksOfFourThreads(const std::string& marks)
{
    EXPECT_EQ(4 * eventsOfEach, static_cast<int>(marks.size()));
    EXPECT_EQ(4 * 167, std::count(marks.begin(), marks.end(), '.'));
    EXPECT_EQ(4 * 167, std::count(marks.begin(), marks.end(), '*'));
    EXPECT_EQ(4 * 166, std::count(marks.begin(), marks.end(), '!'));
}

TEST_F(GenerationCallback, AppendsTheMarksOfAllThreads)
{
    progressTo(folder / "progress");
    runThreads(4, emitEvents, callback.get());
    expectMarksOfFourThreads(contentOf(folder / "progress"));
}

TEST_F(GenerationCallback, PrintsTheMarksOfAllThreads)
{
    Output output;
    runThreads(4, emitEvents, callback.get());
    expectMarksOfFourThreads(output.take());
}

// A search by the real engine, from `base` for a prime of `bits` bits.
int search(const char* base, std::int32_t bits, GenCallback* callback)
{
    baseBits = bits;
    const BigNumber candidate = fromHex(base);
    const Context context(BN_CTX_new());
    return generatePrime(candidate.get(), 0, modeFromBase, nullptr, nullptr, callback,
                         context.get());
}

TEST_F(GenerationCallback, ShowsThePrimeOfASmallSearchAsADotAnd64Stars)
{
    // 2^64-61; the next odd number is the largest prime of 64 bits.
    Output output;
    EXPECT_EQ(1, search("FFFFFFFFFFFFFFC3", 64, callback.get()));
    EXPECT_EQ(std::string(".").append(64, '*'), output.take());
}

TEST_F(GenerationCallback, ShowsEveryCandidateOfASearchAsADot)
{
    // Of the odd numbers above 2^63+7, no prime up to 311 divides those at 9, 15,
    // 21 and 29; the last one is the first prime.
    Output output;
    EXPECT_EQ(1, search("8000000000000007", 64, callback.get()));
    EXPECT_EQ(std::string("....").append(64, '*'), output.take());
}

TEST_F(GenerationCallback, ShowsThePrimeOfALargeSearchAsADotAnd128Stars)
{
    // 2^2055+165 is the first prime above 2^2055.
    const std::string base = std::string("80").append(510, '0').append("A3");
    Output output;
    EXPECT_EQ(1, search(base.c_str(), 2056, callback.get()));
    EXPECT_EQ(std::string(".").append(128, '*'), output.take());
}

TEST_F(GenerationCallback, EndsASearchAtItsFirstEventAfterTheStop)
{
    stopFlag = 1;
    Output output;
    EXPECT_EQ(0, search("8000000000000007", 64, callback.get()));
    EXPECT_EQ(".", output.take());
}

TEST_F(GenerationCallback, EndsAQuietSearchToo)
{
    stopFlag = 1;
    noPrompt = 1;
    Output output;
    EXPECT_EQ(0, search("8000000000000007", 64, callback.get()));
    EXPECT_EQ("", output.take());
}

} // namespace
