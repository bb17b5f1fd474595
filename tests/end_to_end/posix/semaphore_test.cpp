// What becomes of a run whose semaphore cannot be made, or loses its name.
#include "tests/end_to_end/run.h"
#include "tests/platform/posix/semaphore_locks.h"
#include "tests/support/prime_check.h"

#include <semaphore.h>

namespace
{

class Semaphore : public EndToEnd
{
protected:
    static void expectPrime(const Ending& ending)
    {
        expectEnding(6, ending.output, ending);
        EXPECT_EQ(16, bitsOf(digitsOf(ending.output)));
        EXPECT_TRUE(isPrime(digitsOf(ending.output), false));
    }
};

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

// A search that a test must stop: a safe prime of this size takes hours.
const std::string hopeless(1024, 'F');

TEST_F(Semaphore, OfAKilledRunGoesOnServingThoseWhoOpenedIt)
{
    const std::string path = semaphoreFilePath(semaphoreName);
    {
        Process killed =
            start({"-noPrompt", "-safe", "-threads", "1", "-base", hopeless});
        ASSERT_TRUE(comesTrue([&] { return isHeld(path); }));
        killed.kill();
        killed.wait();
    }
    sem_t* controller = sem_open(
        ("/" + std::string(semaphoreName.begin(), semaphoreName.end())).c_str(), 0);
    ASSERT_NE(SEM_FAILED, controller);

    Process next = start({"-noPrompt", "-safe", "-threads", "1", "-base", hopeless});
    ASSERT_TRUE(comesTrue([&] { return isHeld(path); }));
    EXPECT_EQ(0, sem_post(controller));
    expectEnding(-1, "", next.wait());
    sem_close(controller);
}

TEST_F(Semaphore, WhoseReleaseLockAStoppedProcessHoldsKeepsNoPrimeBack)
{
    const std::string path = semaphoreFilePath(semaphoreName);
    SemaphoreHandle held = createNamedSemaphore(semaphoreName.c_str(), 0, 1);
    ASSERT_NE(nullptr, held);
    {
        const StoppedHolder holder(path, releaseByte);
        expectPrime(run({"-noPrompt", "-threads", "1", "-base", "0A1B"}));
    }
    closeSemaphore(held);
}

TEST_F(Semaphore, WhoseNextHolderIsStoppedKeepsNoPrimeBack)
{
    const std::string path = semaphoreFilePath(semaphoreName);
    Process killed = start({"-noPrompt", "-base", "0A1B"});
    ASSERT_TRUE(comesTrue([&] { return isHeld(path); }));
    killed.kill();
    killed.wait();
    {
        const StoppedHolder holder(path, livenessByte);
        expectPrime(run({"-noPrompt", "-threads", "1", "-base", "0A1B"}));
    }
    removeForeign(semaphoreName);
}

class SemaphoreOfAnotherUser : public Semaphore, public testing::WithParamInterface<int>
{
};

TEST_P(SemaphoreOfAnotherUser, DoesNotHangARun)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only the administrator can become another user";
    const LookAlike lookAlike(semaphoreName);
    ASSERT_TRUE(lookAlike.isThere());
    const Ending ending = run({"-noPrompt", "-threads", std::to_string(GetParam()),
                               "-base", std::string(32, '7')});
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ("", ending.errors);
    if (ending.exitCode == exitCodeFor(128)) {
        EXPECT_TRUE(isPrime(digitsOf(ending.output), false)) << ending.output;
    } else {
        // Only threads that cannot be waited for may end without a result.
        EXPECT_LT(63, GetParam());
        expectEnding(-1, "", ending);
    }
}

INSTANTIATE_TEST_SUITE_P(Threads, SemaphoreOfAnotherUser, testing::Values(1, 64),
                         testing::PrintToStringParamName());

} // namespace
