// How the released program is hardened, read from its file.
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace
{

// What readelf prints about the program, with one of its options.
std::string read(const std::string& option)
{
    const Ending ending =
        Process("/usr/bin/readelf", {"--wide", option, NORV_FILE}).wait();
    EXPECT_EQ(0, ending.exitCode) << ending.errors;
    return ending.output;
}

bool contains(const std::string& text, const std::string& pattern)
{
    return std::regex_search(text, std::regex(pattern));
}

TEST(Hardening, LetsTheProgramLieAnywhereInMemory)
{
    EXPECT_TRUE(contains(read("--file-header"), "Type: +DYN"));
    EXPECT_TRUE(contains(read("--dynamic"), "FLAGS_1.* PIE"));
}

TEST(Hardening, LeavesNoTableOfFunctionsToWriteTo)
{
    EXPECT_TRUE(contains(read("--segments"), "GNU_RELRO"));
    EXPECT_TRUE(contains(read("--dynamic"), "BIND_NOW|FLAGS_1.* NOW"));
}

TEST(Hardening, LeavesTheStackUnexecutable)
{
    const std::string segments = read("--segments");
    EXPECT_TRUE(contains(segments, "GNU_STACK .* RW +0x"));
    EXPECT_FALSE(contains(segments, "GNU_STACK .* RWE"));
    EXPECT_FALSE(contains(segments, "LOAD .* RWE"));
}

TEST(Hardening, ChecksTheStackAtTheEndOfFunctions)
{
    EXPECT_TRUE(contains(read("--dyn-syms"), "UND __stack_chk_fail"));
}

TEST(Hardening, ChecksWhatItsTextsAreFormattedTo)
{
    EXPECT_TRUE(contains(read("--dyn-syms"), "UND __vfprintf_chk"));
}

} // namespace
