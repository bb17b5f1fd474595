// Runs whose process may have little memory.
#include "tests/end_to_end/run.h"
#include "tests/support/prime_check.h"

namespace
{

class LittleMemory : public EndToEnd
{
protected:
    // A run whose process may have so many KiB, with small stacks: 63 usual ones would
    // take more than that.
    Ending runWithin(int limit, const Arguments& arguments) const
    {
        Arguments whole = withSemaphore(arguments);
        whole.insert(whole.begin(), {"-c",
                                     "ulimit -s 128 && ulimit -v " +
                                         std::to_string(limit) + R"( && exec "$0" "$@")",
                                     NORV_PROGRAM});
        return Process("/bin/sh", whole).wait();
    }
};

// The stacks and the libraries take some 20 MB, and most sieves find no memory.
TEST_F(LittleMemory, LetsASearchOf63ThreadsEndWithItsPrime)
{
    const Ending ending = runWithin(
        25000, {"-safe", "-noPrompt", "-threads", "63", "-base", std::string(256, 'F')});
    const std::string digits = digitsOf(ending.output);
    expectEnding(384, resultText(digits), ending);
    EXPECT_EQ(1024, bitsOf(digits));
    EXPECT_TRUE(isPrime(digits, true));
}

} // namespace
