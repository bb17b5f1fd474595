// Runs whose process may have little memory.
#include "tests/end_to_end/run.h"
#include "tests/support/prime_check.h"

namespace
{

class LittleMemory : public EndToEnd
{
protected:
    // A run whose process may have 128 MiB, and stacks of 1 MiB: 63 usual ones would
    // take four times that. One arena, since each reserves 64 MiB of addresses.
    Ending runWithLittle(const Arguments& arguments) const
    {
        Arguments whole = withSemaphore(arguments);
        whole.insert(whole.begin(), {"-c",
                                     "ulimit -s 1024 && ulimit -v 131072 && "
                                     R"(MALLOC_ARENA_MAX=1 exec "$0" "$@")",
                                     NORV_PROGRAM});
        return Process("/bin/sh", whole).wait();
    }
};

TEST_F(LittleMemory, LetsASearchOf63ThreadsEndWithItsPrime)
{
    const Ending ending = runWithLittle(
        {"-safe", "-noPrompt", "-threads", "63", "-base", std::string(256, 'F')});
    ASSERT_EQ(seenExitCode(384), ending.exitCode);
    const std::string digits = digitsOf(ending.output);
    expectEnding(384, resultText(digits), ending);
    EXPECT_EQ(1024, bitsOf(digits));
    EXPECT_TRUE(isPrime(digits, true));
}

} // namespace
