#include "tests/ctl/norvctl.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/prime_check.h"

#include <algorithm>

namespace
{

const std::string base128 = "8123456789abcdef0123456789abcdef";

void expectPrime(int bits, bool safe, const Ending& ending)
{
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ(0, ending.exitCode);
    const std::string digits = digitsOfLine(ending.output);
    EXPECT_EQ(static_cast<std::size_t>(bits / 4), digits.size()) << ending.output;
    EXPECT_EQ(bits, bitsOf(digits));
    EXPECT_TRUE(isPrime(digits, safe)) << digits;
}

TEST(Generate, WritesAPrimeOfEachSize)
{
    for (const int bits : {64, 72, 256, 1024}) {
        const Ending ending = runNorvctl({"generate", std::to_string(bits), "--quiet"});
        expectPrime(bits, false, ending);
        EXPECT_EQ("", ending.errors);
    }
}

TEST(Generate, WritesASafePrime)
{
    expectPrime(256, true, runNorvctl({"generate", "256", "--safe", "--quiet"}));
}

TEST(Generate, FindsAnotherPrimeEachTime)
{
    const Arguments arguments{"generate", "128", "--quiet"};
    EXPECT_NE(runNorvctl(arguments).output, runNorvctl(arguments).output);
}

TEST(Generate, FindsThePrimeThatNorvFindsFromTheSameBase)
{
    std::string pairs;
    for (std::size_t i = 0; i < base128.size(); i += 2)
        pairs += base128.substr(i, 2) + " ";
    Ending norv = Process(NORV_PROGRAM,
                          {"-noPrompt", "-threads", "1", "-input", "16",
                           "-stopSemaphoreName", "norvctl_test_same_base"},
                          {Streams::Input::text, pairs})
                      .wait();
    std::string digits = norv.output;
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    ASSERT_EQ(32U, digits.size());
    EXPECT_EQ(digits, digitsOfLine(runNorvctl({"generate", "128", "--threads", "1",
                                               "--quiet", "--base", base128})
                                       .output));
}

TEST(Generate, TakesABaseWithBlanksColonsAndAPrefix)
{
    const std::string plain =
        runNorvctl({"generate", "64", "--threads", "1", "--base", "8123456789abcdef"})
            .output;
    EXPECT_EQ(plain, runNorvctl({"generate", "64", "--threads", "1", "--base",
                                 "0x81:23:45:67\n89 AB CD EF\n"})
                         .output);
    EXPECT_EQ(17U, plain.size());
}

TEST(Generate, TakesABaseFromAFileAndFromItsInput)
{
    const TemporaryFolder folder;
    writeFile(folder / "base", base128 + "\n");
    const std::string expected =
        runNorvctl({"generate", "128", "--threads", "1", "--base", base128}).output;
    EXPECT_EQ(33U, expected.size());
    EXPECT_EQ(expected, runNorvctl({"generate", "128", "--threads", "1", "--base-file",
                                    (folder / "base").string()})
                            .output);
    EXPECT_EQ(expected,
              runNorvctl({"generate", "128", "--threads", "1", "--base-file", "-"},
                         {Streams::Input::text, base128})
                  .output);
}

TEST(Generate, RefusesABaseOfAnotherSizeOrThatIsNoNumber)
{
    expectLine(2, "--base: 30 hex digits, but BITS 128 needs 32",
               runNorvctl({"generate", "128", "--base", base128.substr(2)}));
    const Ending bad = runNorvctl({"generate", "128", "--base", "81\n2g"});
    EXPECT_EQ(2, bad.exitCode);
    EXPECT_EQ(0U, bad.errors.rfind("norvctl: --base: line 2, column 2: ", 0))
        << bad.errors;
    const Ending odd = runNorvctl({"generate", "128", "--base", "812"});
    EXPECT_EQ(2, odd.exitCode);
    EXPECT_EQ(0U, odd.errors.rfind("norvctl: --base: line 1, column ", 0)) << odd.errors;
    expectLine(2, "--base-file /nonexistent/file: No such file or directory",
               runNorvctl({"generate", "128", "--base-file", "/nonexistent/file"}));
}

TEST(Generate, FindsTheSamePrimeFromTheSameText)
{
    const Arguments arguments{"generate", "256", "--quiet", "--from", "a text"};
    const Ending first = runNorvctl(arguments);
    expectPrime(256, false, first);
    EXPECT_EQ(first.output, runNorvctl(arguments).output);
    EXPECT_NE(first.output,
              runNorvctl({"generate", "256", "--quiet", "--from", "a Text"}).output);
}

TEST(Generate, SearchesWithMoreThreadsThanARunOfNorvTakes)
{
    expectPrime(256, true,
                runNorvctl({"generate", "256", "--safe", "--threads", "130", "--quiet"}));
}

TEST(Generate, SearchesOnlyItsShare)
{
    // Of 64 bits: the first four after the highest one tell the sixteenth part.
    for (const int part : {0, 5, 15}) {
        const Ending ending = runNorvctl(
            {"generate", "64", "--quiet", "--share", std::to_string(part) + "/16"});
        expectPrime(64, false, ending);
        const std::string digits = "0123456789ABCDEF";
        const std::size_t first = digits.find(digitsOfLine(ending.output)[0]);
        const std::size_t second = digits.find(digitsOfLine(ending.output)[1]);
        EXPECT_EQ(static_cast<std::size_t>(part), (first - 8) * 2 + second / 8)
            << ending.output;
    }
}

TEST(Generate, WritesAsManyPrimesAsAskedFor)
{
    const Ending ending = runNorvctl({"generate", "64", "--count", "5", "--quiet"});
    EXPECT_EQ(0, ending.exitCode);
    ASSERT_EQ(5U * 17, ending.output.size());
    for (std::size_t i = 0; i < 5; ++i) {
        const std::string line = ending.output.substr(17 * i, 17);
        EXPECT_TRUE(isPrime(digitsOfLine(line), false)) << line;
        EXPECT_EQ(17 * i, ending.output.find(line));
    }
}

TEST(Generate, WritesAWholeFile)
{
    const TemporaryFolder folder;
    const Ending ending = runNorvctl({"generate", "64", "--count", "3", "--quiet",
                                      "--output", (folder / "primes").string()});
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ("", ending.output);
    EXPECT_EQ(3U * 17, contentOf(folder / "primes").size());
    const std::filesystem::directory_iterator entries(folder / "");
    EXPECT_EQ(1, std::distance(begin(entries), end(entries)));
}

TEST(Generate, TellsItsSearchAtTheStartAndAtTheEndWhereThereIsNoTerminal)
{
    const Ending ending = runNorvctl({"generate", "64", "--threads", "1"});
    EXPECT_EQ(2, std::count(ending.errors.begin(), ending.errors.end(), '\n'))
        << ending.errors;
    EXPECT_EQ(0U, ending.errors.rfind("norvctl: prime of 64 bits, 1 thread: 0 s of ", 0))
        << ending.errors;
    EXPECT_NE(std::string::npos, ending.errors.find(": found after ")) << ending.errors;
    EXPECT_EQ(std::string::npos, ending.errors.find('\033'));
    EXPECT_EQ(std::string::npos, ending.errors.find("\r\033"));
}

TEST(Generate, SaysWhenItCannotWrite)
{
    const TemporaryFolder folder;
    const std::string missing = (folder / "none" / "prime").string();
    const Ending nowhere = runNorvctl({"generate", "64", "--output", missing});
    EXPECT_EQ(1, nowhere.exitCode);
    EXPECT_EQ(withNativeLineEnds("norvctl: cannot write " + missing +
                                 ": No such file or directory\n"),
              nowhere.errors);
    const Ending closed = runNorvctl({"generate", "64", "--quiet"},
                                     {Streams::Input::text, "", Streams::Output::closed});
    EXPECT_EQ(1, closed.exitCode);
    EXPECT_EQ(0U, closed.errors.rfind("norvctl: cannot write standard output: ", 0))
        << closed.errors;
    const Ending unread = runNorvctl({"generate", "64", "--quiet"},
                                     {Streams::Input::text, "", Streams::Output::unread});
    EXPECT_EQ(1, unread.exitCode);
    EXPECT_EQ(0U, unread.errors.rfind("norvctl: cannot write standard output: ", 0))
        << unread.errors;
}

TEST(Generate, SaysWhenThereIsNoNorv)
{
    expectLine(3,
               "there is no program /nonexistent/norv; --norv PATH must be that of norv",
               runNorvctl({"generate", "64", "--norv", "/nonexistent/norv"}));
    // Neither beside it nor on the path.
    const TemporaryFolder folder;
    const std::filesystem::path alone =
        folder / std::filesystem::path(NORVCTL_PROGRAM).filename();
    std::filesystem::copy_file(NORVCTL_PROGRAM, alone);
    const auto run = [&](const std::string& path) {
        const EnvironmentVariable folders("PATH", path);
        return Process(alone.string(), {"generate", "64", "--quiet"}).wait();
    };
    const std::string here = (folder / "").string();
    expectLine(3,
               "norv is neither beside norvctl nor on the path; name it with --norv PATH",
               run(here));
    // On the path.
    const char separator = std::filesystem::path::preferred_separator == '/' ? ':' : ';';
    expectPrime(64, false,
                run(here + separator +
                    std::filesystem::path(NORV_PROGRAM).parent_path().string()));
}

class WithFakeNorv : public testing::Test
{
protected:
    static Ending run(const std::string& task, const Arguments& more = {},
                      const std::string& bits = "64")
    {
        const FakeNorv fake(task);
        Arguments arguments{"generate", bits, "--quiet", "--norv", FAKE_NORV};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runNorvctl(arguments);
    }

    static std::string nonsense()
    {
        return FAKE_NORV " answered with something that is no number of 64 bits";
    }
};

TEST_F(WithFakeNorv, RefusesAnAnswerThatIsNoNumberOfTheSize)
{
    for (const char* answer : {"hello", "FF FF FF FF FF FF FF", "FF FF FF FF FF FF FF ",
                               "ff ff ff ff ff ff ff c5 ", "FF FF FF FF FF FF FF C5\n",
                               "FF FF FF FF FF FF FF C5 00 ", "FF FF FF FF FF FF FF G5 "})
        expectLine(3, nonsense(), run(std::string("print ") + answer));
    expectLine(3, nonsense(), run("endless"));
}

TEST_F(WithFakeNorv, TakesTheAnswerWhateverTheExitCodeIs)
{
    // 2^64 - 59, the largest prime of 64 bits, from an exit code of 0.
    const Ending good =
        run("print FF FF FF FF FF FF FF C5 ", {"--base", "ffffffffffffff00"});
    EXPECT_EQ(0, good.exitCode) << good.errors;
    EXPECT_EQ("ffffffffffffffc5\n", good.output);
}

TEST_F(WithFakeNorv, RefusesWhatFailsItsOwnCheck)
{
    const std::string found = "the number that " FAKE_NORV " found ";
    expectLine(3, found + "is not prime; nothing was written",
               run("print FF FF FF FF FF FF FF C7 "));
    expectLine(3,
               found + "is not prime; nothing was written; the base was ff00000000000000",
               run("print FF FF FF FF FF FF FF C7 ",
                   {"--verbose", "--base", "ff00000000000000"}));
    expectLine(3, found + "is prime, but no safe prime; nothing was written",
               run("print FF FF FF FF FF FF FF C5 ", {"--safe"}));
    expectLine(3, found + "has the wrong size; nothing was written",
               run("print 00 00 00 00 00 00 00 07 "));
    // 2^127 + 29 is prime.
    expectLine(3, found + "is not above its base; nothing was written",
               run("print 80 00 00 00 00 00 00 00 00 00 00 00 00 00 00 1D ",
                   {"--base", "c0000000000000000000000000000000"}, "128"));
}

TEST_F(WithFakeNorv, SaysThatItEndedWithoutAPrime)
{
    expectLine(3,
               FAKE_NORV " ended without a prime: somebody released its semaphore, or it "
                         "could not make one",
               run("end 255"));
    expectLine(3, FAKE_NORV " ended without a prime, with exit code 7", run("end 7"));
}

TEST_F(WithFakeNorv, IsAskedForItsVersionWhereThatIsTold)
{
    const std::string json =
        runNorvctl({"generate", "64", "--quiet", "--format", "json"}).output;
    EXPECT_NE(std::string::npos, json.find("\"norv\": \"1.0\"")) << json;
    for (const char* usage : {"", "Prime generation utility 64, v.", "v.1.0"})
        expectLine(3, FAKE_NORV " does not name its version as norv does",
                   run(std::string("print ") + usage, {"--format", "json"}));
    expectLine(3, FAKE_NORV " does not name its version as norv does",
               run("endless", {"--format", "json"}));
}

TEST_F(WithFakeNorv, IsNotWaitedForWhenItIsAskedForItsVersion)
{
    expectLine(124, "no prime within the time limit of 500 ms",
               run("hang", {"--format", "json", "--timeout", "0.5"}));
}

TEST_F(WithFakeNorv, IsStoppedByItsSemaphore)
{
    const TemporaryFolder folder;
    expectLine(124, "no prime within the time limit of 500 ms",
               run("obey " + (folder / "released").string(), {"--timeout", "0.5"}));
    // The stand-in was not killed: it has gone on after the release.
    EXPECT_EQ("released", contentOf(folder / "released"));
}

} // namespace
