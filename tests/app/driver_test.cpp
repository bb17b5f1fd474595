// What the driver makes of a command line, with threads that never run.
#include "prime/base_bits.h"
#include "prime/events.h"
#include "prime/shortcuts.h"
#include "search/search_worker.h"
#include "search/settings.h"
#include "search/stop_flag.h"
#include "search/stop_watcher.h"
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

// What the options make of a run: by default what it is without any.
struct Settings {
    int handles = 1; // of the wait: the stop watcher's and the workers'
    std::wstring semaphoreName = L"stopPrimeGeneration";
    int safe = 0;
    int quiet = 0;
    std::optional<std::wstring> progressFile = std::nullopt;
    bool unwatched = false;
};

// What the threads of a run find, and what their wait gets.
struct Job {
    std::string base;
    std::int32_t bits = 0;
    Settings settings{.handles = noWait};
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
        EXPECT_EQ(0, stopFlagOf(context->callback));
        Job seen{toHex(sharedBase), baseBits, {}};
        Settings& settings = seen.settings;
        settings.handles = handles;
        settings.semaphoreName = context->semaphoreName;
        settings.safe = context->safe;
        settings.quiet = noPrompt;
        if (outPrompt)
            settings.progressFile = outPrompt;
        settings.unwatched = eventsUnwatched;
        return seen;
    }

    // How many handles the run waits for.
    int handlesOf(const wchar_t* line)
    {
        run(line);
        return job.settings.handles;
    }

    Job job;
    std::string found; // what the threads find, in hex
};

std::string started(const std::string& kind, int bits, int threads)
{
    return "\nGeneration is started!\n" + kind + " " + std::to_string(bits) +
           " bits in " + std::to_string(threads) + " threads.\n";
}

// A command line, its exit code when nothing is found, and the bits and the base of the
// search: no bits where none is started.
struct BaseLine {
    const char* name;
    const wchar_t* line;
    std::int32_t exitCode;
    std::int32_t bits = 0;
    const char* base = "";

    friend std::ostream& operator<<(std::ostream& out, const BaseLine& tested)
    {
        return out << tested.name;
    }
};

class DriverBase : public Driver, public testing::WithParamInterface<BaseLine>
{
};

TEST_P(DriverBase, IsTakenFrom)
{
    EXPECT_EQ(GetParam().exitCode, run(GetParam().line));
    EXPECT_EQ(GetParam().bits, job.bits);
    EXPECT_EQ(GetParam().base, job.base);
    if (GetParam().bits == 0) {
        EXPECT_EQ("", output);
    }
}

const BaseLine hexText[] = {
    {"DigitsOfBothCases", L"norv -base 0a1BCdeF98", -1, 40, "A1BCDEF98"},
    {"ManyDigits", L"norv -base 123456789abcdef01122334455667788", -1, 128,
     "123456789ABCDEF01122334455667788"},
    {"ALeadingZeroByte", L"norv -base 00FF", -1, 16, "FF"},
    {"ZerosAlone", L"norv -base 000000", -1, 24, "0"},
    {"PairsApart", L"norv -base \"0A 1B\"", -1, 16, "A1B"},
    {"PairsFarApart", L"norv -base \"0a  1b\"", -1, 16, "A1B"},
    {"PairsWithBlanksAround", L"norv -base \"  0a1b \"", -1, 16, "A1B"},
    {"AnOddLastDigit", L"norv -base abc", -1, 8, "AB"},
    {"ABadPair", L"norv -base 12zz34", -1, 8, "12"},
    {"ABadSecondDigit", L"norv -base 123z45", -1, 8, "12"},
    {"ABlankInsideAPair", L"norv -base \"123 456\"", -1, 8, "12"},
    {"ATab", L"norv -base 0a\t1b", -1, 8, "A"},
    {"ALineEnd", L"norv -base 0a\n1b", -1, 8, "A"},
    {"ABackslash", L"norv -base 0a\\n1b", -1, 8, "A"},
    {"ArabicIndicDigits", L"norv -base 12\x0661\x0661", -1, 8, "12"},
    {"FullwidthDigits", L"norv -base 12\xFF11\xFF11", -1, 8, "12"},
    {"FullwidthLetters", L"norv -base 12\xFF21\xFF21", -1, 8, "12"},
    {"AnIntroducerOfHex", L"norv -base 0x12", -1},
    {"TheCharacterBefore0", L"norv -base /0", -1},
    {"TheCharacterAfter9", L"norv -base :0", -1},
    {"TheCharacterBeforeCapitalA", L"norv -base @0", -1},
    {"TheCharacterAfterCapitalF", L"norv -base G0", -1},
    {"TheCharacterBeforeSmallA", L"norv -base `0", -1},
    {"TheCharacterAfterSmallF", L"norv -base g0", -1},
    {"ASecondCharacterBefore0", L"norv -base 0/", -1},
    {"ASecondCharacterAfterSmallF", L"norv -base 0g", -1},
    {"EmptyText", L"norv -base \"\"", -1},
    {"BlanksAlone", L"norv -base \"   \"", -1}};

const BaseLine options[] = {
    {"TheFirstArgument", L"-base FF", -1, 8, "FF"},
    {"TheLastOfSeveral", L"norv -base FFFFFFFF -base 0A1B", -1, 16, "A1B"},
    {"AnotherOption", L"norv -base -safe", -1},
    {"TheByteCountsOption", L"norv -base -input 1", -1},
    {"ATextThatTheByteCountWouldTakeLater", L"norv -input -base 41", -1, 8, "41"},
    {"WhatTheSemaphoreNameLeft", L"norv -base -stopSemaphoreName x FF", -1, 8, "FF"},
    {"ABaseWhereAFlagStandsForTheTestText", L"norv -base FF -input 1 -test -noPrompt", -1,
     8, "FF"},
    {"NothingWhereAnEarlierOptionTookIts", L"norv -threads -base FF", -2},
    {"NothingAtTheEndOfTheLine", L"norv -threads 1 -base", -2},
    {"NothingWithoutIt", L"norv -threads 1", -2},
    {"NoCommandLine", nullptr, -2},
    {"AnEmptyCommandLine", L"", -2},
    {"ABaseBesideABadByteCount", L"norv -base 1234 -input -1", -1, 16, "1234"},
    {"AByteCountThatIsNotANumber", L"norv -input x", -2},
    {"AByteCountOfZero", L"norv -input 0", -2},
    {"ANegativeByteCount", L"norv -input -1", -1},
    {"AByteCountWhoseBitsCannotBeCounted", L"norv -input 268435456", -1},
    {"AByteCountBeyondAllNumbers", L"norv -input 99999999999", -1},
    {"ATestText", L"norv -input 8 -test 7", -1, 32, "77777777"},
    {"TheFirstCharacterOfATestText", L"norv -input 4 -test f123456789", -1, 16, "FFFF"},
    {"AnOddTestText", L"norv -input 3 -test f", -1, 8, "FF"},
    {"ATestTextBeforeABase", L"norv -base 1234 -input 4 -test 7", -1, 16, "7777"},
    {"NoTestTextWithoutAByteCount", L"norv -base 1234 -test 7", -1, 16, "1234"},
    {"ATestTextThatIsNotADigit", L"norv -input 8 -test x", -1},
    {"AnEmptyTestText", L"norv -input 8 -test \"\"", -1},
    {"ATestTextOfNegativeLength", L"norv -input -8 -test 7", -1},
    {"ATestTextOfNegativeLengthBeforeABase", L"norv -base 1234 -input -8 -test 7", -1},
    {"ATestTextWhoseBitsCannotBeCounted", L"norv -input 2147483647 -test 7", -1}};

INSTANTIATE_TEST_SUITE_P(HexText, DriverBase, testing::ValuesIn(hexText),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Options, DriverBase, testing::ValuesIn(options),
                         testing::PrintToStringParamName());

// Threads

TEST_F(Driver, StartsTheStopWatcherAloneWithoutThreads)
{
    EXPECT_EQ(1, handlesOf(L"norv -base FF"));
    EXPECT_EQ(1U, fakeThreads.created.size());
    EXPECT_EQ(stopWatcherThreadProc, fakeThreads.created.at(0).procedure);
}

TEST_F(Driver, StartsTheWorkersAfterTheStopWatcher)
{
    EXPECT_EQ(4, handlesOf(L"norv -base FF -threads 3"));
    ASSERT_EQ(4U, fakeThreads.created.size());
    EXPECT_EQ(stopWatcherThreadProc, fakeThreads.created[0].procedure);
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_EQ(workerThreadProc, fakeThreads.created[i].procedure) << i;
}

TEST_F(Driver, StartsNoWorkerBeforeTheStopWatcherIsReady)
{
    std::size_t startedBefore = 0;
    fakeThreads.pause = [&] {
        startedBefore = fakeThreads.created.size();
        stopWatcherReady = 1;
    };
    EXPECT_EQ(3, handlesOf(L"norv -base FF -threads 2"));
    EXPECT_EQ(1U, startedBefore);
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

TEST_F(Driver, TellsOfAWorkerThatCouldNotBeStartedAndClosesTheHandlesThatItHas)
{
    fakeThreads.refusedThread = 2;
    EXPECT_EQ(-2, run(L"norv -base FF -threads 3"));
    EXPECT_EQ(static_cast<int>(fakeThreads.created.size()) - 1, fakeThreads.closed);
}

TEST_F(Driver, WaitsForAsManyThreadsAsOneWaitTakes)
{
    EXPECT_EQ(64, handlesOf(L"norv -base FF -threads 63"));
    EXPECT_FALSE(endedProcess);
}

TEST_F(Driver, EndsTheProcessWhenItHasMoreThreadsThanOneWaitTakes)
{
    EXPECT_EQ(-1, run(L"norv -base FF -threads 64"));
    EXPECT_TRUE(endedProcess);
    EXPECT_EQ(65, fakeThreads.closed);
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
    fakeThreads.refusedThread = 0;
    EXPECT_EQ(-2, run(L"norv -base FF -threads 1"));
}

TEST_F(Driver, ReportsAResultThoughAThreadCouldNotBeStarted)
{
    fakeThreads.refusedThread = 2;
    found = "0A1B";
    EXPECT_EQ(6, run(L"norv -base FFFF -threads 3"));
}

TEST_F(Driver, CannotMakeRoomForFewerThanNoThreads)
{
    EXPECT_THROW(run(L"norv -base FF -threads -2 -noPrompt"), std::bad_alloc);
    testing::internal::GetCapturedStdout();
}

// The other options

struct OptionLine {
    const char* name;
    const wchar_t* options;
    Settings settings;

    friend std::ostream& operator<<(std::ostream& out, const OptionLine& tested)
    {
        return out << tested.name;
    }
};

class DriverOptions : public Driver, public testing::WithParamInterface<OptionLine>
{
};

TEST_P(DriverOptions, AreTakenAs)
{
    run((std::wstring(L"norv -base FF ") + GetParam().options).c_str());
    EXPECT_EQ("FF", job.base);
    const Settings& expected = GetParam().settings;
    EXPECT_EQ(expected.handles, job.settings.handles);
    EXPECT_EQ(expected.semaphoreName, job.settings.semaphoreName);
    EXPECT_EQ(expected.safe, job.settings.safe);
    EXPECT_EQ(expected.quiet, job.settings.quiet);
    EXPECT_EQ(expected.progressFile, job.settings.progressFile);
    EXPECT_EQ(expected.unwatched, job.settings.unwatched);
}

const OptionLine optionLines[] = {
    {"None", L"", {}},
    {"Threads", L"-threads 4", {.handles = 5}},
    {"ThreadsInTheOtherCase", L"-THREADS 4", {.handles = 5}},
    {"ThreadsWithAnEqualsSign", L"-threads=4", {.handles = 5}},
    {"ThreadsAttached", L"-threads4", {.handles = 5}},
    {"ThreadsAfterALoneEqualsSign", L"-threads= 4", {.handles = 5}},
    {"ThreadsThatAreNotANumber", L"-threads x", {}},
    {"ThreadsWithoutAValue", L"-threads", {}},
    {"ThreadsWithoutAValueAgain", L"-threads 4 -threads", {}},
    {"SemaphoreName", L"-stopSemaphoreName mine", {.semaphoreName = L"mine"}},
    {"SemaphoreNameWithoutAValue", L"-stopSemaphoreName", {}},
    {"SemaphoreNameWithAnEqualsSignAlone", L"-stopSemaphoreName=", {}},
    {"SemaphoreNameBeforeTakenThreads", L"-stopSemaphoreName -threads 2", {.handles = 3}},
    {"Safe", L"-Safe", {.safe = 1}},
    {"SafeTakenForAValue", L"-outPrompt -safe", {.progressFile = L"-safe"}},
    {"NoPrompt", L"-noPrompt", {.quiet = 1, .unwatched = true}},
    {"OutPrompt", L"-outPrompt \"a file\"", {.progressFile = L"a file"}},
    {"OutPromptBeforeATakenByteCount", L"-outPrompt -input 1", {}},
    {"NoPromptTakenForAValue", L"-outPrompt -noPrompt", {.progressFile = L"-noPrompt"}},
    {"OutPromptAndNoPrompt",
     L"-outPrompt \"a file\" -noPrompt",
     {.quiet = 1, .progressFile = L"a file"}},
    {"UnknownOnesAmongOthers",
     L"what -ever 4 -threads 2 --safe /noPrompt",
     {.handles = 3}}};

INSTANTIATE_TEST_SUITE_P(Lines, DriverOptions, testing::ValuesIn(optionLines),
                         testing::PrintToStringParamName());

TEST_F(Driver, AnswersAQuestionMarkWithTheUsageTextAlone)
{
    EXPECT_EQ(0, run(L"norv -threads 2 ? -base FF -noPrompt"));
    EXPECT_EQ(0U, output.find("Prime generation utility 64, v.1.0 "));
    const std::string lastLine = "> norv.exe -threads 8 -input 32 -safe\n";
    EXPECT_EQ(output.size() - lastLine.size(), output.find(lastLine));
    EXPECT_EQ(noWait, job.settings.handles);
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

TEST_F(Driver, NamesASafePrimeInItsMessages)
{
    found = "0A1B";
    run(L"norv -safe -base FFFF");
    EXPECT_EQ(started("Safe prime", 16, 0) +
                  "\nGeneration finished 0 seconds\nSafe prime 16 bits in 1 threads.\n"
                  "Result:0A 1B ",
              output);
}

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
    EXPECT_EQ(-1, run(L"norv -base FFFF -threads 3"));
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
