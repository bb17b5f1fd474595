// What a run gives back: the result, the messages around it, the exit code.
#include "tests/end_to_end/run.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <memory>
#include <ostream>

namespace
{

class Result : public EndToEnd
{
};

TEST_F(Result, OfOneWorkerIsTheFirstPrimeOneWindowAboveTheBase)
{
    expectEnding(24, "81 23 45 67 89 AB CC C3 ",
                 run({"-noPrompt", "-threads", "1", "-base", "0123456789ABCDEF"}));
}

TEST_F(Result, WrapsAtTheTopOfTheSize)
{
    expectEnding(96,
                 "80 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
                 "00 00 00 00 00 00 00 00 FF FF FF FF FF FF FE E1 ",
                 run({"-noPrompt", "-threads", "1", "-base", std::string(64, 'F')}));
}

TEST_F(Result, OfASafeSearchIsTheFirstSafePrime)
{
    expectEnding(
        48, "80 00 00 00 00 00 00 01 00 00 00 00 00 00 02 CF ",
        run({"-noPrompt", "-safe", "-threads", "1", "-base", std::string(32, 'F')}));
}

TEST_F(Result, HasTheTopBitOfItsSizeAboveABaseOfZeros)
{
    expectEnding(24, "FF FF FF FF FF FF FE E9 ",
                 run({"-noPrompt", "-threads", "1", "-base", std::string(16, '0')}));
}

TEST_F(Result, StandsAloneInAQuietRun)
{
    const Ending ending = run({"-noPrompt", "-threads", "1", "-base", "77777777"});
    EXPECT_EQ("F7 77 76 4B ", ending.output);
}

TEST_F(Result, StandsBehindTheMessagesAndItsPrefix)
{
    const Ending ending = run({"-threads", "2", "-base", std::string(32, '7')});
    const std::string output = withoutSeconds(ending.output);
    const std::string before = withNativeLineEnds(started("Prime", 128, 2));
    const std::string behind = withNativeLineEnds(finished("Prime", 128, 2)) + "Result:";
    EXPECT_EQ(0U, output.find(before));
    const auto end = output.find(behind);
    ASSERT_NE(std::string::npos, end) << output;
    const std::string marks = output.substr(before.size(), end - before.size());
    EXPECT_EQ(std::string::npos, marks.find_first_not_of(".*"));

    const std::string prime = digitsOf(output.substr(end + behind.size()));
    EXPECT_TRUE(isPrime(prime, false));
    EXPECT_EQ(128, bitsOf(prime));
    EXPECT_EQ(exitCodeFor(128), ending.exitCode);
}

TEST_F(Result, IsNamedASafePrimeByTheMessages)
{
    const Ending ending =
        run({"-safe", "-threads", "1", "-base", "77777777", "-outPrompt", "."});
    expectEnding(12,
                 started("Safe prime", 32, 1) + finished("Safe prime", 32, 1) +
                     "Result:F7 77 7B D7 ",
                 ending);
}

// Searches by several workers: any of their windows may give the result.

struct Search {
    const char* name;
    int bits;
    bool safe;
    int threads;

    friend std::ostream& operator<<(std::ostream& out, const Search& search)
    {
        return out << search.bits << " bits, " << search.threads << " workers";
    }
};

class ResultOfWorkers : public EndToEnd, public testing::WithParamInterface<Search>
{
};

TEST_P(ResultOfWorkers, IsTheFirstPrimeOfAWindow)
{
    const Search& search = GetParam();
    const std::string base = oracle::randomNumber(search.bits, 7);
    Arguments arguments{"-noPrompt", "-threads", std::to_string(search.threads), "-base",
                        base};
    if (search.safe)
        arguments.emplace_back("-SAFE");
    const Ending ending = run(arguments);

    const std::string prime = digitsOf(ending.output);
    EXPECT_TRUE(isPrime(prime, search.safe));
    EXPECT_EQ(search.bits, bitsOf(prime));
    EXPECT_EQ(exitCodeFor(search.bits), ending.exitCode);
    const unsigned long window = windowsBetween(base, prime, search.bits);
    EXPECT_GE(window, 1U);
    EXPECT_EQ(oracle::firstPrime(windowStart(base, search.bits, window),
                                 {search.bits, search.safe}),
              prime);
}

INSTANTIATE_TEST_SUITE_P(
    Searches, ResultOfWorkers,
    testing::Values(Search{"OnePlain", 256, false, 1}, Search{"TwoPlain", 512, false, 2},
                    Search{"FourPlain", 520, false, 4},
                    Search{"EightPlain", 128, false, 8}, Search{"OneSafe", 128, true, 1},
                    Search{"ThreeSafe", 192, true, 3}, Search{"EightSafe", 128, true, 8},
                    Search{"ManyPlain", 256, false, 63}),
    [](const auto& tested) { return tested.param.name; });

TEST(Results, OfRunsSideBySideAreEachTheirOwn)
{
    std::vector<std::string> bases;
    std::vector<std::unique_ptr<Process>> runs;
    for (std::uint32_t i = 0; i < 4; ++i) {
        const std::wstring name = uniqueSemaphoreName(std::to_wstring(i));
        bases.push_back(oracle::randomNumber(256, i));
        runs.push_back(std::make_unique<Process>(
            NORV_PROGRAM,
            Arguments{"-noPrompt", "-threads", "1", "-base", bases.back(),
                      "-stopSemaphoreName", std::string(name.begin(), name.end())}));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::string prime =
            oracle::firstPrime(windowStart(bases[i], 256, 1), {256, false});
        expectEnding(96, resultText(prime), runs[i]->wait());
    }
}

// Standard output that is not there

TEST_F(Result, GoesNowhereWithoutStandardOutput)
{
    const Ending ending = run({"-threads", "1", "-base", std::string(32, '7')},
                              {Streams::Input::text, "", Streams::Output::closed});
    EXPECT_TRUE(ending.inTime);
    EXPECT_FALSE(endedAbnormally(ending));
    EXPECT_EQ("", ending.errors);
}

TEST_F(Result, GoesNowhereWhenNobodyReadsStandardOutput)
{
    const Ending ending = run({"-threads", "1", "-base", std::string(32, '7')},
                              {Streams::Input::text, "", Streams::Output::unread});
    EXPECT_TRUE(ending.inTime);
    EXPECT_FALSE(endedAbnormally(ending));
    EXPECT_EQ("", ending.errors);
}

} // namespace
