// What becomes of a run whose semaphore cannot be made, or loses its name.
#include "tests/end_to_end/run.h"

namespace
{

using Semaphore = EndToEnd;

TEST_F(Semaphore, WithASlashInItsNameStopsTheSearchBeforeItStarts)
{
    // So small a prime would be found in no time.
    for (int i = 0; i < 20; ++i)
        expectEnding(-1, "",
                     run({"-noPrompt", "-threads", "8", "-base", "0A1B",
                          "-stopSemaphoreName", "a/b"}));
}

TEST_F(Semaphore, WhoseNameIsRemovedDoesNotKeepARunFromItsEnd)
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
