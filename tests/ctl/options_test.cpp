#include "ctl/options.h"

#include <gtest/gtest.h>

namespace
{

constexpr int processors = 3;

std::variant<Options, Leave> read(const std::vector<const char*>& arguments)
{
    std::vector<std::string> all{"norvctl"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return readOptions(all, processors);
}

Options optionsOf(const std::vector<const char*>& arguments)
{
    const auto result = read(arguments);
    if (const Leave* leave = std::get_if<Leave>(&result)) {
        ADD_FAILURE() << leave->text;
        return {};
    }
    return std::get<Options>(result);
}

// The line of a refusal; none when the arguments are not refused.
std::string refusalOf(const std::vector<const char*>& arguments)
{
    const auto result = read(arguments);
    const Leave* leave = std::get_if<Leave>(&result);
    return leave && leave->exitCode == exitUsage ? leave->text : std::string();
}

TEST(ReadOptions, HasADefaultForEverythingButTheSize)
{
    const Options options = optionsOf({"generate", "2048"});
    EXPECT_EQ(Options::Command::generate, options.command);
    EXPECT_EQ(2048, options.bits);
    EXPECT_FALSE(options.safe);
    EXPECT_EQ(processors, options.threads);
    EXPECT_EQ(Format::hex, options.format);
    EXPECT_EQ(1, options.count);
    EXPECT_EQ(0, options.share.index);
    EXPECT_EQ(1, options.share.count);
    EXPECT_FALSE(options.base || options.from);
    EXPECT_EQ(0, options.timeout);
    EXPECT_FALSE(options.quiet || options.verbose);
}

TEST(ReadOptions, ReadsWhatIsGiven)
{
    const Options options =
        optionsOf({"generate", "64", "--safe", "--threads", "130", "--format=moduli",
                   "--count", "20", "--share", "2/3", "--timeout", "1.5", "--output",
                   "file", "--quiet", "--verbose", "--norv", "path"});
    EXPECT_TRUE(options.safe && options.quiet && options.verbose);
    EXPECT_EQ(130, options.threads);
    EXPECT_EQ(Format::moduli, options.format);
    EXPECT_EQ(20, options.count);
    EXPECT_EQ(2, options.share.index);
    EXPECT_EQ(3, options.share.count);
    EXPECT_EQ(1.5, options.timeout);
    EXPECT_EQ("file", options.output);
    EXPECT_EQ("path", options.norv);
    EXPECT_EQ("ab", optionsOf({"generate", "64", "--base", "ab"}).base);
    EXPECT_EQ("ab", optionsOf({"generate", "64", "--base-file", "ab"}).baseFile);
}

TEST(ReadOptions, LetsAShareHaveABaseAndACount)
{
    const Options one = optionsOf({"generate", "128", "--share", "1/4", "--base", "ab"});
    EXPECT_EQ("ab", one.base);
    EXPECT_EQ(1, one.share.index);
    const Options many = optionsOf({"generate", "128", "--share", "3/4", "--count", "5"});
    EXPECT_EQ(5, many.count);
    EXPECT_EQ(4, many.share.count);
}

TEST(ReadOptions, SharesASizeInPartsThatAreWideEnough)
{
    // 2^79 numbers of 80 bits, in parts of 2^72.
    EXPECT_EQ(128, optionsOf({"generate", "80", "--share", "0/128"}).share.count);
    EXPECT_EQ("N in --share I/N must be at most 128 with 80 bits and --threads 63, not "
              "129: the parts would overlap",
              refusalOf({"generate", "80", "--threads", "63", "--share", "0/129"}));
    // 64 threads make two runs, each in a part of its own.
    EXPECT_EQ("N in --share I/N must be at most 64 with 80 bits and --threads 64, not "
              "65: the parts would overlap",
              refusalOf({"generate", "80", "--threads", "64", "--share", "0/65"}));
    EXPECT_EQ("--share needs larger numbers than those of 72 bits and --threads 3: the "
              "parts would overlap; leave --share out",
              refusalOf({"generate", "72", "--share", "0/2"}));
    EXPECT_EQ(1, optionsOf({"generate", "72", "--share", "0/1"}).share.count);
    for (const char* bits : {"64", "104", "65536"})
        EXPECT_EQ(1'000'000, optionsOf({"generate", bits, "--threads", "4096", "--share",
                                        "999999/1000000"})
                                 .share.count)
            << bits;
}

TEST(ReadOptions, SearchesFromATextWithOneThread)
{
    const Options options = optionsOf({"generate", "64", "--from", "text"});
    EXPECT_EQ("text", options.from);
    EXPECT_EQ(1, options.threads);
}

TEST(ReadOptions, WritesSafePrimesAsPemForDhparam)
{
    const Options options = optionsOf({"dhparam", "2048"});
    EXPECT_EQ(Options::Command::generate, options.command);
    EXPECT_TRUE(options.safe);
    EXPECT_EQ(Format::pem, options.format);
    EXPECT_NE("", refusalOf({"dhparam", "2048", "--format", "hex"}));
}

TEST(ReadOptions, ReadsTheOtherCommands)
{
    EXPECT_EQ("stopPrimeGeneration", optionsOf({"stop"}).semaphore);
    EXPECT_EQ("name", optionsOf({"stop", "name"}).semaphore);
    EXPECT_EQ(Options::Command::stop, optionsOf({"stop"}).command);
    EXPECT_EQ(0, optionsOf({"estimate"}).bits);
    EXPECT_EQ(64, optionsOf({"estimate", "64", "--safe"}).bits);
    EXPECT_EQ(Options::Command::estimate, optionsOf({"estimate"}).command);
    EXPECT_FALSE(optionsOf({"estimate", "64"}).points);
    EXPECT_TRUE(optionsOf({"estimate", "64", "--points"}).points);
    EXPECT_EQ("-", optionsOf({"check"}).file);
    EXPECT_TRUE(optionsOf({"check", "file", "--replay"}).replay);
    const Options replay =
        optionsOf({"check", "--replay", "--quiet", "--verbose", "--norv", "path"});
    EXPECT_TRUE(replay.quiet && replay.verbose);
    EXPECT_EQ("path", replay.norv);
    EXPECT_EQ(Options::Command::check, optionsOf({"check"}).command);
    EXPECT_EQ(Options::Command::compare, optionsOf({"compare", "64"}).command);
    EXPECT_EQ(30, optionsOf({"compare", "64"}).seconds);
    EXPECT_EQ(0.5, optionsOf({"compare", "64", "--seconds", "0.5"}).seconds);
    EXPECT_TRUE(optionsOf({"compare", "64", "--safe"}).safe);
}

TEST(ReadOptions, AnswersRequestsForHelpAndForTheVersion)
{
    for (const std::vector<const char*>& arguments :
         std::vector<std::vector<const char*>>{
             {"--help"}, {"generate", "--help"}, {"--version"}}) {
        const auto result = read(arguments);
        const Leave* leave = std::get_if<Leave>(&result);
        ASSERT_NE(nullptr, leave);
        EXPECT_EQ(0, leave->exitCode);
        EXPECT_NE("", leave->text);
        EXPECT_EQ('\n', leave->text.back());
    }
    EXPECT_NE(std::string::npos,
              std::get<Leave>(read({"generate", "--help"})).text.find("--share I/N"));
}

struct Refusal {
    const char* name;
    std::vector<const char*> arguments;
    const char* line;
};

class Refused : public testing::TestWithParam<Refusal>
{
};

TEST_P(Refused, WithWhatWouldBeRight)
{
    EXPECT_EQ(GetParam().line, refusalOf(GetParam().arguments));
}

constexpr char bitsLine[] = "BITS must be a multiple of 8 from 64 to 65536, not '";

INSTANTIATE_TEST_SUITE_P(
    Are, Refused,
    testing::Values(
        Refusal{"NoCommand",
                {},
                "a command is missing; the commands are generate, dhparam, check, "
                "compare, stop, estimate"},
        Refusal{"AnUnknownCommand",
                {"find"},
                "there is no command 'find'; the commands are generate, dhparam, check, "
                "compare, stop, estimate"},
        Refusal{"AnUnknownOption",
                {"generate", "64", "--fast"},
                "'--fast' is not expected here; 'norvctl generate --help' lists what is "
                "right"},
        Refusal{"AnotherArgument",
                {"generate", "64", "65"},
                "'65' is not expected here; 'norvctl generate --help' lists what is "
                "right"},
        Refusal{
            "NoSize", {"generate"}, "BITS is missing: a multiple of 8 from 64 to 65536"},
        Refusal{"AnOptionWithoutItsValue",
                {"generate", "64", "--threads"},
                "--threads must be given once, with one value; 'norvctl generate "
                "--help' lists what is right"},
        Refusal{"AnOptionTwice",
                {"generate", "64", "--threads", "1", "--threads", "2"},
                "--threads must be given once, with one value; 'norvctl generate "
                "--help' lists what is right"},
        Refusal{"AFlagTwice",
                {"generate", "64", "--safe", "--quiet", "--safe"},
                "--safe must be given once, without a value; 'norvctl generate --help' "
                "lists what is right"},
        Refusal{"NoThreads",
                {"generate", "64", "--threads", "0"},
                "--threads must be a whole number from 1 to 4096, not '0'"},
        Refusal{"ThreadsWithADigitTooMany",
                {"generate", "64", "--threads", "99999999999"},
                "--threads must be a whole number from 1 to 4096, not '99999999999'"},
        Refusal{"ACountThatIsNoNumber",
                {"generate", "64", "--count", "2x"},
                "--count must be a whole number from 1 to 1000000, not '2x'"},
        Refusal{"AnEmptyCount",
                {"generate", "64", "--count", ""},
                "--count must be a whole number from 1 to 1000000, not ''"},
        Refusal{"PointsOfNoSize",
                {"estimate", "--points"},
                "--points is the distribution of one size; add BITS"},
        Refusal{"AnEmptyPath",
                {"generate", "64", "--output", ""},
                "--output must name a file, not ''"},
        Refusal{"AnEmptyPathToCheck", {"check", ""}, "FILE must name a file, not ''"},
        Refusal{"AShareWithoutParts",
                {"generate", "64", "--share", "1"},
                "--share must be I/N, such as 0/4 for the first of four parts, not '1'"},
        Refusal{"AShareBeyondTheLast",
                {"generate", "64", "--share", "4/4"},
                "I in --share I/N must be a whole number from 0 to 3, not '4'"},
        Refusal{"NoTime",
                {"generate", "64", "--timeout", "0"},
                "--timeout must be a number of seconds above 0 and up to 1000000000, not "
                "'0'"},
        Refusal{"ATimeOfManyYears",
                {"generate", "64", "--timeout", "1000000001"},
                "--timeout must be a number of seconds above 0 and up to 1000000000, not "
                "'1000000001'"},
        Refusal{"ATimeThatIsNoNumber",
                {"generate", "64", "--timeout", "nan"},
                "--timeout must be a number of seconds above 0 and up to 1000000000, not "
                "'nan'"},
        Refusal{"AnUnknownFormat",
                {"generate", "64", "--format", "xml"},
                "--format must be hex, dec, pem, der, json, c or moduli, not 'xml'"},
        Refusal{"ParametersOfAPrimeThatIsNotSafe",
                {"generate", "64", "--format", "pem"},
                "the formats pem, der and moduli are for safe primes; add --safe"},
        Refusal{"TwoBases",
                {"generate", "64", "--base", "11", "--from", "text"},
                "--base and --from exclude each other: there is one base"},
        Refusal{"ABaseForSeveralPrimes",
                {"generate", "64", "--base", "11", "--count", "2"},
                "--count and a base exclude each other: each prime needs a random base "
                "of its own"},
        Refusal{"SeveralPrimesInOneArray",
                {"generate", "64", "--format", "c", "--count", "2"},
                "the formats der and c hold one prime; leave --count out"},
        Refusal{"AShareOfATextsSearch",
                {"generate", "64", "--from", "text", "--share", "0/2"},
                "--from and --share exclude each other: everybody who repeats the "
                "search must get the same prime"},
        Refusal{"ThreadsForATextsSearch",
                {"generate", "64", "--from", "text", "--threads", "2"},
                "--from searches with one thread, so that everybody who repeats it gets "
                "the same prime; leave --threads out"},
        Refusal{"AnEmptyText",
                {"generate", "64", "--from", ""},
                "the text of --from must not be empty"},
        Refusal{"NoTimeToCompare",
                {"compare", "64", "--seconds", "0"},
                "--seconds must be a number of seconds above 0 and up to 1000000000, not "
                "'0'"},
        Refusal{"VerbosityOfAComparison",
                {"compare", "64", "--verbose"},
                "'--verbose' is not expected here; 'norvctl compare --help' lists what "
                "is right"},
        Refusal{"ANorvForACheckWithoutASearch",
                {"check", "--norv", "path"},
                "--norv of check needs --replay; add that, or leave --norv out"},
        Refusal{"SilenceForACheckWithoutASearch",
                {"check", "--quiet", "file"},
                "--quiet of check needs --replay; add that, or leave --quiet out"},
        Refusal{"VerbosityOfACheckWithoutASearch",
                {"check", "--verbose"},
                "--verbose of check needs --replay; add that, or leave --verbose out"},
        Refusal{"NoSizeToCompare",
                {"compare"},
                "BITS is missing: a multiple of 8 from 64 to 65536"},
        Refusal{"ATextThatIsNotUtf8",
                {"generate", "64", "--from", "\xff"},
                "the text of --from must be UTF-8"}),
    [](const auto& refusal) { return std::string(refusal.param.name); });

TEST(ReadOptions, RefusesAFlagWithAValue)
{
    struct Flag {
        const char* command;
        std::vector<const char*> names;
    };
    const Flag flags[] = {
        {"generate", {"--safe", "--quiet", "--verbose"}},
        {"dhparam", {"--quiet", "--verbose"}},
        {"check", {"--safe", "--replay", "--quiet", "--verbose"}},
        {"compare", {"--safe", "--quiet"}},
        {"estimate", {"--safe", "--points"}},
    };
    for (const auto& [command, names] : flags)
        for (const std::string name : names)
            for (const char* value : {"false", "0", "2", "no"})
                EXPECT_EQ(name + " must be given once, without a value; 'norvctl " +
                              command + " --help' lists what is right",
                          refusalOf({command, "64", (name + "=" + value).c_str()}));
}

TEST(ReadOptions, RefusesAnInvalidSize)
{
    for (const char* bits :
         {"0", "8", "56", "63", "65", "100", "65544", "1e3", " 64", "64 ", "0x40", ""})
        EXPECT_EQ(bitsLine + std::string(bits) + "'", refusalOf({"generate", bits}))
            << bits;
    for (const char* bits : {"64", "72", "65536"})
        EXPECT_EQ("", refusalOf({"generate", bits}));
}

} // namespace
