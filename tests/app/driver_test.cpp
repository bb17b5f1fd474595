// What the driver makes of a command line, with threads that never run.
#include "prime/events.h"
#include "prime/shortcuts.h"
#include "search/search_worker.h"
#include "search/stop_flag.h"
#include "search/tracked_lock.h"
#include "tests/app/driver_fixture.h"
#include "tests/fakes/thread.h"
#include "tests/fakes/trace_number.h"
#include "tests/support/big.h"

#include <limits>
#include <optional>
#include <ostream>
#include <string>

namespace
{

constexpr int noWait = -1;

// What the threads of a run find, and what their wait gets.
struct Job {
    int handles = noWait;
    std::string base;
    std::int32_t bits = 0;
    std::uint64_t maxDelta = 0;
    std::wstring semaphoreName;
    int safe = 0;
    int quiet = 0;
    std::optional<std::wstring> progressFile;
    bool unwatched = false;
    int stopFlag = 0;
};

class Driver : public DriverFixture
{
protected:
    Driver()
    {
        fakeThreads = {};
        fakeThreads.wait = [this](int handles) {
            job = look(handles);
            if (!found.empty())
                resultPrime = fromHex(found).release();
        };
    }

    ~Driver() override
    {
        fakeThreads = {};
    }

    static Job look(int handles)
    {
        const auto* context =
            static_cast<const SearchContext*>(fakeThreads.created.at(0).argument);
        Job seen;
        seen.handles = handles;
        seen.base = toHex(sharedBase);
        seen.bits = baseBits;
        seen.maxDelta = maxDelta;
        seen.semaphoreName = context->semaphoreName;
        seen.safe = context->safe;
        seen.quiet = noPrompt;
        if (outPrompt)
            seen.progressFile = outPrompt;
        seen.unwatched = eventsUnwatched;
        seen.stopFlag = stopFlagOf(context->callback);
        return seen;
    }

    // The job of a run that starts one.
    Job jobOf(const wchar_t* line)
    {
        run(line);
        EXPECT_NE(noWait, job.handles) << "no search was started";
        return job;
    }

    Job job;
    std::string found; // what the threads find, in hex
};

std::string started(const std::string& kind, int bits, int threads)
{
    return "\nGeneration is started!\n" + kind + " " + std::to_string(bits) +
           " bits in " + std::to_string(threads) + " threads.\n";
}

// The base

TEST_F(Driver, TakesEightBitsForEachByteOfTheBase)
{
    jobOf(L"norv -base 00FF");
    EXPECT_EQ(16, job.bits);
    EXPECT_EQ("FF", job.base);
}

TEST_F(Driver, InstallsTheWholeBase)
{
    EXPECT_EQ("123456789ABCDEF01122334455667788",
              jobOf(L"norv -base 123456789abcdef01122334455667788").base);
}

TEST_F(Driver, TakesABaseWithBlanksInsideQuotes)
{
    jobOf(L"norv -base \"0A 1B\"");
    EXPECT_EQ(16, job.bits);
    EXPECT_EQ("A1B", job.base);
}

TEST_F(Driver, TakesSeveralBlanksBetweenThePairsOfABase)
{
    jobOf(L"norv -base \"0a  1b\"");
    EXPECT_EQ(16, job.bits);
    EXPECT_EQ("A1B", job.base);
}

TEST_F(Driver, DropsAnOddLastDigitOfTheBase)
{
    jobOf(L"norv -base abc");
    EXPECT_EQ(8, job.bits);
    EXPECT_EQ("AB", job.base);
}

TEST_F(Driver, TakesTheBaseUpToABadPair)
{
    jobOf(L"norv -base 12zz34");
    EXPECT_EQ(8, job.bits);
    EXPECT_EQ("12", job.base);
}

TEST_F(Driver, AcceptsABaseOfZeros)
{
    jobOf(L"norv -base 000000");
    EXPECT_EQ(24, job.bits);
    EXPECT_EQ("0", job.base);
}

TEST_F(Driver, EndsWithoutAResultForABaseThatHoldsNoByte)
{
    EXPECT_EQ(-1, run(L"norv -base 0x12"));
    EXPECT_EQ("", output);
    EXPECT_EQ(noWait, job.handles);
}

TEST_F(Driver, EndsWithoutAResultForAnEmptyBase)
{
    EXPECT_EQ(-1, run(L"norv -base \"\""));
    EXPECT_EQ("", output);
}

TEST_F(Driver, TakesAnOptionForTheBaseText)
{
    EXPECT_EQ(-1, run(L"norv -base -safe"));
}

TEST_F(Driver, LeavesSafeModeOffWhenItsOptionWasTakenForAValue)
{
    EXPECT_EQ(0, jobOf(L"norv -base FF -outPrompt -safe").safe);
}

TEST_F(Driver, AsksForABase)
{
    EXPECT_EQ(-2, run(L"norv -threads 1"));
    EXPECT_EQ("", output);
}

TEST_F(Driver, AsksForABaseWhenItsOptionStandsLast)
{
    EXPECT_EQ(-2, run(L"norv -threads 1 -base"));
}

TEST_F(Driver, AsksForABaseWhenAByteCountIsNoNumber)
{
    EXPECT_EQ(-2, run(L"norv -input x"));
}

TEST_F(Driver, AsksForABaseWhenTheByteCountIsZero)
{
    EXPECT_EQ(-2, run(L"norv -input 0"));
}

TEST_F(Driver, AsksForABaseWithoutACommandLine)
{
    EXPECT_EQ(-2, run(nullptr));
    EXPECT_EQ("", output);
}

TEST_F(Driver, AsksForABaseOnAnEmptyCommandLine)
{
    EXPECT_EQ(-2, run(L""));
}

TEST_F(Driver, RepeatsTheFirstCharacterOfTheTestText)
{
    jobOf(L"norv -input 8 -test 7");
    EXPECT_EQ(32, job.bits);
    EXPECT_EQ("77777777", job.base);
}

TEST_F(Driver, UsesTheFirstCharacterOfTheTestTextOnly)
{
    EXPECT_EQ("FFFF", jobOf(L"norv -input 4 -test f123456789").base);
}

TEST_F(Driver, DropsTheLastCharacterOfAnOddTestText)
{
    EXPECT_EQ(8, jobOf(L"norv -input 3 -test f").bits);
}

TEST_F(Driver, PrefersTheTestTextToTheBase)
{
    EXPECT_EQ("7777", jobOf(L"norv -base 1234 -input 4 -test 7").base);
}

TEST_F(Driver, IgnoresTheTestTextWithoutAByteCount)
{
    EXPECT_EQ("1234", jobOf(L"norv -base 1234 -test 7").base);
}

TEST_F(Driver, EndsWithoutAResultForATestTextThatIsNoDigit)
{
    EXPECT_EQ(-1, run(L"norv -input 8 -test x"));
}

TEST_F(Driver, EndsWithoutAResultForAnEmptyTestText)
{
    EXPECT_EQ(-1, run(L"norv -input 8 -test \"\""));
}

TEST_F(Driver, EndsWithoutAResultForANegativeByteCount)
{
    EXPECT_EQ(-1, run(L"norv -input -1"));
    EXPECT_EQ("", output);
}

TEST_F(Driver, EndsWithoutAResultForANegativeLengthOfTheTestText)
{
    EXPECT_EQ(-1, run(L"norv -input -8 -test 7"));
}

TEST_F(Driver, EndsWithoutAResultWhenTheBitsOfTheInputCannotBeCounted)
{
    EXPECT_EQ(-1, run(L"norv -input 268435456"));
    EXPECT_EQ("", output);
    EXPECT_EQ(-1, run(L"norv -input 99999999999"));
}

TEST_F(Driver, EndsWithoutAResultWhenTheBitsOfTheTestTextCannotBeCounted)
{
    EXPECT_EQ(-1, run(L"norv -input 2147483647 -test 7"));
}

TEST_F(Driver, PrefersTheBaseToABadByteCount)
{
    EXPECT_EQ("1234", jobOf(L"norv -base 1234 -input -1").base);
}

// The search window

struct Window {
    int bytes;
    std::uint64_t maxDelta;

    friend std::ostream& operator<<(std::ostream& out, const Window& window)
    {
        return out << window.maxDelta;
    }
};

class DriverWindow : public Driver, public testing::WithParamInterface<Window>
{
};

TEST_P(DriverWindow, FollowsTheSize)
{
    const std::wstring digits(static_cast<std::size_t>(GetParam().bytes) * 2, L'F');
    EXPECT_EQ(GetParam().maxDelta, jobOf((L"norv -base " + digits).c_str()).maxDelta);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, DriverWindow,
    testing::Values(Window{1, 0xFFFFFFFFFFFFFEC8}, Window{64, 0xFFFFFFFFFFFFFEC8},
                    Window{65, 0xFFFFFFFFFFFFFD30}, Window{128, 0xFFFFFFFFFFFFFD30},
                    Window{129, 0xFFFFFFFFFFFFF59E}, Window{256, 0xFFFFFFFFFFFFF59E},
                    Window{257, 0xFFFFFFFFFFFFE01E}, Window{512, 0xFFFFFFFFFFFFE01E},
                    Window{513, 0xFFFFFFFFFFFFBA38}),
    [](const auto& tested) { return std::to_string(tested.param.bytes) + "Bytes"; });

// Threads

TEST_F(Driver, StartsTheStopWatcherAloneWithoutThreads)
{
    EXPECT_EQ(1, jobOf(L"norv -base FF").handles);
    EXPECT_EQ(1U, fakeThreads.created.size());
    EXPECT_EQ(stopWatcherThreadProc, fakeThreads.created.at(0).procedure);
}

TEST_F(Driver, ReportsNoThreadsWhenNoneAreAskedFor)
{
    run(L"norv -base 00FF");
    EXPECT_EQ(started("Prime", 16, 0), output);
}

TEST_F(Driver, StartsTheWorkersAfterTheStopWatcher)
{
    EXPECT_EQ(4, jobOf(L"norv -base FF -threads 3").handles);
    ASSERT_EQ(4U, fakeThreads.created.size());
    EXPECT_EQ(stopWatcherThreadProc, fakeThreads.created[0].procedure);
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_EQ(workerThreadProc, fakeThreads.created[i].procedure) << i;
}

TEST_F(Driver, GivesAllThreadsOneRecord)
{
    run(L"norv -base FF -threads 3");
    for (const FakeThread& thread : fakeThreads.created)
        EXPECT_EQ(fakeThreads.created.at(0).argument, thread.argument);
}

TEST_F(Driver, GivesTheThreadsACallbackThatCarriesTheStopFlag)
{
    int answer = -1;
    int answerWhenStopped = -1;
    fakeThreads.wait = [&](int) {
        const auto* context =
            static_cast<const SearchContext*>(fakeThreads.created.at(0).argument);
        answer = BN_GENCB_call(context->callback, candidateEvent, 0);
        stopFlagOf(context->callback) = 1;
        answerWhenStopped = BN_GENCB_call(context->callback, candidateEvent, 0);
    };
    run(L"norv -base FF -threads 1 -noPrompt");
    EXPECT_EQ(1, answer);
    EXPECT_EQ(0, answerWhenStopped);
}

TEST_F(Driver, GivesTheThreadsAFreeLock)
{
    const wchar_t* holder = L"not looked at";
    std::int32_t guard = 0;
    fakeThreads.wait = [&](int) {
        const TrackedLock* lock =
            static_cast<const SearchContext*>(fakeThreads.created.at(0).argument)->lock;
        holder = lock->holderName;
        guard = lock->readyGuard;
    };
    run(L"norv -base FF -threads 1");
    EXPECT_EQ(nullptr, holder);
    EXPECT_EQ(TrackedLock::guardReady, guard);
}

TEST_F(Driver, ClosesEveryHandle)
{
    run(L"norv -base FF -threads 3");
    EXPECT_EQ(4, fakeThreads.closed);
}

TEST_F(Driver, EndsWithoutAResultWhenTheThreadsFoundNone)
{
    EXPECT_EQ(-1, run(L"norv -base FF -threads 3"));
}

TEST_F(Driver, TellsOfAWorkerThatCouldNotBeStarted)
{
    fakeThreads.firstRefused = 2;
    EXPECT_EQ(-2, run(L"norv -base FF -threads 3"));
}

TEST_F(Driver, ClosesTheHandlesThatItHasWhenAThreadCouldNotBeStarted)
{
    fakeThreads.firstRefused = 2;
    run(L"norv -base FF -threads 3");
    EXPECT_EQ(static_cast<int>(fakeThreads.created.size()) - 1, fakeThreads.closed);
}

TEST_F(Driver, WaitsForAsManyThreadsAsOneWaitTakes)
{
    EXPECT_EQ(64, jobOf(L"norv -base FF -threads 63").handles);
    EXPECT_FALSE(endedProcess);
}

TEST_F(Driver, EndsTheProcessWhenItHasMoreThreadsThanOneWaitTakes)
{
    EXPECT_EQ(-1, run(L"norv -base FF -threads 64"));
    EXPECT_TRUE(endedProcess);
}

TEST_F(Driver, ClosesTheHandlesOfThreadsThatItCannotWaitFor)
{
    run(L"norv -base FF -threads 100");
    EXPECT_EQ(101, fakeThreads.closed);
}

TEST_F(Driver, ReportsAResultOfThreadsThatItCannotWaitFor)
{
    found = "0A1B";
    EXPECT_EQ(6, run(L"norv -noPrompt -base FFFF -threads 64"));
    EXPECT_EQ("0A 1B ", output);
}

TEST_F(Driver, EndsTheProcessWhenItWaitsForNoThreadAtAll)
{
    EXPECT_EQ(-1, run(L"norv -base FF -threads -1"));
    EXPECT_EQ(started("Prime", 8, -1), output);
    EXPECT_TRUE(endedProcess);
}

TEST_F(Driver, TellsOfAStopWatcherThatCouldNotBeStarted)
{
    fakeThreads.firstRefused = 0;
    EXPECT_EQ(-2, run(L"norv -base FF -threads 1"));
}

TEST_F(Driver, ReportsAResultThoughAThreadCouldNotBeStarted)
{
    fakeThreads.firstRefused = 2;
    found = "0A1B";
    EXPECT_EQ(6, run(L"norv -base FFFF -threads 3"));
}

TEST_F(Driver, CannotMakeRoomForFewerThanNoThreads)
{
    EXPECT_THROW(run(L"norv -base FF -threads -2 -noPrompt"), std::bad_alloc);
    testing::internal::GetCapturedStdout();
}

// Options

TEST_F(Driver, TakesTheThreadCountInEveryForm)
{
    for (const wchar_t* line : {L"norv -base FF -threads 4", L"norv -base FF -THREADS 4",
                                L"norv -base FF -threads=4", L"norv -base FF -threads4",
                                L"norv -base FF -threads= 4"}) {
        fakeThreads.created.clear();
        EXPECT_EQ(5, jobOf(line).handles) << line;
        BN_free(sharedBase);
        sharedBase = nullptr;
    }
}

TEST_F(Driver, StartsNoWorkerWhenTheThreadCountIsNoNumber)
{
    EXPECT_EQ(1, jobOf(L"norv -base FF -threads x").handles);
}

TEST_F(Driver, StartsNoWorkerWhenTheThreadOptionStandsLast)
{
    EXPECT_EQ(1, jobOf(L"norv -base FF -threads").handles);
}

TEST_F(Driver, StartsNoWorkerWhenTheThreadOptionStandsLastAgain)
{
    EXPECT_EQ(1, jobOf(L"norv -base FF -threads 4 -threads").handles);
}

TEST_F(Driver, HasADefaultSemaphoreName)
{
    EXPECT_EQ(L"stopPrimeGeneration", jobOf(L"norv -base FF").semaphoreName);
}

TEST_F(Driver, TakesTheSemaphoreName)
{
    EXPECT_EQ(L"mine", jobOf(L"norv -base FF -stopSemaphoreName mine").semaphoreName);
}

TEST_F(Driver, KeepsTheDefaultSemaphoreNameWhenItsOptionStandsLast)
{
    EXPECT_EQ(L"stopPrimeGeneration",
              jobOf(L"norv -base FF -stopSemaphoreName").semaphoreName);
}

TEST_F(Driver, KeepsTheDefaultSemaphoreNameWhenItsOptionEndsInAnEqualsSign)
{
    EXPECT_EQ(L"stopPrimeGeneration",
              jobOf(L"norv -base FF -stopSemaphoreName=").semaphoreName);
}

TEST_F(Driver, SearchesAnyPrimeByDefault)
{
    EXPECT_EQ(0, jobOf(L"norv -base FF").safe);
}

TEST_F(Driver, SearchesASafePrimeOnDemand)
{
    EXPECT_EQ(1, jobOf(L"norv -Safe -base FF").safe);
    EXPECT_EQ(started("Safe prime", 8, 0), output);
}

TEST_F(Driver, HasNoProgressFileByDefault)
{
    EXPECT_EQ(std::nullopt, jobOf(L"norv -base FF").progressFile);
}

TEST_F(Driver, TakesTheProgressFile)
{
    EXPECT_EQ(L"a file", jobOf(L"norv -base FF -outPrompt \"a file\"").progressFile);
}

TEST_F(Driver, LetsMarksStayOutWhereNobodySeesThem)
{
    EXPECT_TRUE(jobOf(L"norv -base FF -noPrompt").unwatched);
}

TEST_F(Driver, LetsNoMarkStayOutOfStandardOutput)
{
    EXPECT_FALSE(jobOf(L"norv -base FF").unwatched);
}

TEST_F(Driver, LetsNoMarkStayOutOfTheProgressFile)
{
    EXPECT_FALSE(jobOf(L"norv -base FF -outPrompt \"a file\"").unwatched);
}

TEST_F(Driver, LetsNoMarkStayOutOfTheProgressFileOfAQuietRun)
{
    EXPECT_FALSE(jobOf(L"norv -base FF -outPrompt \"a file\" -noPrompt").unwatched);
}

TEST_F(Driver, ReadsItsOptionsInTheirOrder)
{
    // "-threads" takes "-base" for its value, so that FF belongs to nobody.
    EXPECT_EQ(-2, run(L"norv -threads -base FF"));
    // "-base" takes "-input", and 1 belongs to nobody.
    EXPECT_EQ(-1, run(L"norv -base -input 1"));
}

TEST_F(Driver, IgnoresArgumentsThatItDoesNotKnow)
{
    jobOf(L"norv what -ever 4 -base FF -threads 2 --safe /noPrompt");
    EXPECT_EQ("FF", job.base);
    EXPECT_EQ(3, job.handles);
    EXPECT_EQ(0, job.safe);
    EXPECT_EQ(0, job.quiet);
}

TEST_F(Driver, TakesTheFirstArgumentForAnOptionLikeAnyOther)
{
    EXPECT_EQ("FF", jobOf(L"-base FF").base);
}

TEST_F(Driver, AnswersAQuestionMarkWithTheUsageTextAlone)
{
    EXPECT_EQ(0, run(L"norv -threads 2 ? -base FF -noPrompt"));
    EXPECT_EQ(0U, output.find("Prime generation utility 64, v.1.0 "));
    const std::string lastLine = "> norv.exe -threads 8 -input 32 -safe\n";
    EXPECT_EQ(output.size() - lastLine.size(), output.find(lastLine));
    EXPECT_EQ(noWait, job.handles);
}

TEST_F(Driver, AnswersAQuestionMarkThatWouldBeAValue)
{
    EXPECT_EQ(0, run(L"norv -base ?"));
    EXPECT_EQ(0U, output.find("Prime generation utility"));
}

TEST_F(Driver, TakesNoLongerArgumentForAQuestionMark)
{
    EXPECT_EQ(-2, run(L"norv -? ?? /?"));
}

// Messages

TEST_F(Driver, PrintsTheWholeRun)
{
    found = "0A1B";
    EXPECT_EQ(6, run(L"norv -base FFFF -threads 3"));
    EXPECT_EQ(started("Prime", 16, 3) +
                  "\nGeneration finished 0 seconds\nPrime 16 bits in 4 threads.\n"
                  "Result:0A 1B ",
              output);
}

TEST_F(Driver, PrintsTheResultAloneWhenQuiet)
{
    found = "0A1B";
    EXPECT_EQ(6, run(L"norv -base FFFF -threads 3 -noPrompt"));
    EXPECT_EQ(1, job.quiet);
    EXPECT_EQ("0A 1B ", output);
}

TEST_F(Driver, TracesTheResult)
{
    std::string traced;
    fakeTraceNumber = [&traced](const BIGNUM* number) {
        traced = toHex(number);
    };
    found = "0A1B";
    run(L"norv -base FFFF -threads 3");
    fakeTraceNumber = [](const BIGNUM*) {
    };
    EXPECT_EQ("A1B", traced);
}

TEST_F(Driver, SaysNothingOfTheEndWithoutAResult)
{
    run(L"norv -base FFFF -threads 3");
    EXPECT_EQ(started("Prime", 16, 3), output);
}

TEST_F(Driver, TakesTheSizeFromTheBaseAndNotFromTheResult)
{
    found = "0B";
    EXPECT_EQ(3, run(L"norv -base FFFF"));
    EXPECT_EQ(started("Prime", 16, 0) +
                  "\nGeneration finished 0 seconds\nPrime 16 bits in 1 threads.\n"
                  "Result:0B ",
              output);
}

// The seconds that a run from `start` to `end` reports.
class DriverSeconds : public Driver
{
protected:
    std::string seconds(std::int32_t start, std::int32_t end)
    {
        bool first = true;
        fakeProcessClock = [=]() mutable {
            const std::int32_t now = first ? start : end;
            first = false;
            return now;
        };
        found = "FB";
        run(L"norv -base FF");
        const std::string before = "\nGeneration finished ";
        const auto begin = output.find(before) + before.size();
        return output.substr(begin, output.find(" seconds", begin) - begin);
    }
};

TEST_F(DriverSeconds, AreWhole)
{
    EXPECT_EQ("1", seconds(1000, 2999));
}

TEST_F(DriverSeconds, CountTheRunAndNotTheProcess)
{
    EXPECT_EQ("5", seconds(100000, 105000));
}

TEST_F(DriverSeconds, GoOnWhenTheClockWraps)
{
    EXPECT_EQ("3", seconds(std::numeric_limits<std::int32_t>::max() - 999,
                           std::numeric_limits<std::int32_t>::min() + 2000));
}

TEST_F(DriverSeconds, AreCutTowardZeroWhenTheClockGoesBack)
{
    EXPECT_EQ("-1", seconds(5000, 3001));
}

} // namespace
