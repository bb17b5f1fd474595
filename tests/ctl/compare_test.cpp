#include "tests/ctl/norvctl.h"

#include <regex>

namespace
{

// The figures of `durationText`, in seconds.
double secondsOf(const std::string& value, const std::string& unit)
{
    return std::stod(value) * (unit == "ms" ? 1e-3 : 1);
}

TEST(Compare, TellsTheTimesOfBothAndTheirRatio)
{
    const Ending ending =
        runNorvctl({"compare", "256", "--safe", "--seconds", "0.3", "--quiet"});
    EXPECT_EQ(0, ending.exitCode) << ending.errors;
    EXPECT_EQ("", ending.errors);
    const std::regex form(
        "safe prime of 256 bits, CPU time of one: mean \\+- standard error\n"
        "norv +([0-9.]+) (ms|s) \\+- [0-9.]+ m?s +([0-9]+) searches\n"
        "libcrypto +([0-9.]+) (ms|s) \\+- [0-9.]+ m?s +([0-9]+) searches\n"
        "libcrypto takes ([0-9.]+) \\+- [0-9.]+ times the CPU time of norv\n");
    std::smatch found;
    ASSERT_TRUE(std::regex_match(ending.output, found, form)) << ending.output;
    const double norv = secondsOf(found[1], found[2]);
    const double libcrypto = secondsOf(found[4], found[5]);
    EXPECT_LT(0, norv);
    EXPECT_LT(0, libcrypto);
    EXPECT_LE(2, std::stoi(found[3]));
    EXPECT_EQ(found[3], found[6]);
    // The times have two digits that matter.
    EXPECT_NEAR(libcrypto / norv, std::stod(found[7]), 0.15 * libcrypto / norv);
}

TEST(Compare, SaysWhatItDoesWhereThereIsNoTerminal)
{
    const Ending ending = runNorvctl({"compare", "64", "--seconds", "0.001"});
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ(withNativeLineEnds("norvctl: comparing searches for primes of 64 bits for "
                                 "1.0 ms\n"),
              ending.errors);
    EXPECT_NE(std::string::npos, ending.output.find(" 2 searches\n")) << ending.output;
}

TEST(Compare, SaysWhenNorvIsMissingOrEndsWithoutAPrime)
{
    expectLine(3,
               "there is no program /nonexistent/norv; --norv PATH must be that of norv",
               runNorvctl({"compare", "64", "--norv", "/nonexistent/norv"}));
    const FakeNorv fake("print FF FF FF FF FF FF FF C7 ");
    expectLine(3, "the number that " FAKE_NORV " found is not a prime of this kind",
               runNorvctl({"compare", "64", "--quiet", "--norv", FAKE_NORV}));
}

} // namespace
