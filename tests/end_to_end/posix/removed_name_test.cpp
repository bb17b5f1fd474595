// Runs whose semaphore's name a foreign hand takes away.
#include "tests/end_to_end/run.h"

namespace
{

using RemovedName = EndToEnd;

TEST_F(RemovedName, DoesNotKeepARunFromItsEnd)
{
    constexpr int bits = 512;
    for (const char digit : {'1', '7', 'C'}) {
        Process process = start({"-threads", "2", "-noPrompt", "-safe", "-base",
                                 std::string(bits / 4, digit)});
        ASSERT_TRUE(comesTrue(
            [&] { return existsForeign(semaphoreName) || !process.isRunning(); }));
        removeForeign(semaphoreName);
        const Ending ending = process.wait();
        EXPECT_TRUE(ending.inTime);
        EXPECT_EQ(exitCodeFor(bits), ending.exitCode);
    }
}

} // namespace
