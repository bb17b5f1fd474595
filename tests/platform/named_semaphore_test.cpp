#include "platform/named_semaphore.h"

#include "tests/platform/named_semaphore_fixture.h"
#include "tests/platform/run_threads.h"
#include "tests/support/foreign_semaphore.h"

#include <atomic>
#include <random>
#include <string>
#include <vector>

namespace
{

class NamedSemaphore : public NamedSemaphoreFixture
{
protected:
    NamedSemaphore()
        : NamedSemaphoreFixture(L"named")
    {
    }
};

TEST_F(NamedSemaphore, IsCreatedUnderItsNameWithTheCountGiven)
{
    create(3, 5);
    EXPECT_EQ(3, countForeign(name));
}

TEST_F(NamedSemaphore, CannotBeOpenedWhenThereIsNone)
{
    EXPECT_EQ(nullptr, openNamedSemaphore(name.c_str()));
    EXPECT_FALSE(existsForeign(name));
}

TEST_F(NamedSemaphore, IsTheSameForAllThatOpenIt)
{
    SemaphoreHandle first = create(0, 2);
    SemaphoreHandle second = open();
    EXPECT_TRUE(releaseSemaphore(second));
    EXPECT_TRUE(waitForSemaphore(first));
    EXPECT_EQ(0, countForeign(name));
}

TEST_F(NamedSemaphore, IsRaisedByOneARelease)
{
    SemaphoreHandle semaphore = create(0, 3);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_EQ(1, countForeign(name));
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_EQ(2, countForeign(name));
}

TEST_F(NamedSemaphore, IsNotRaisedAboveItsMaximumButAgainAfterAWait)
{
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_FALSE(releaseSemaphore(semaphore));
    EXPECT_EQ(1, countForeign(name));
    EXPECT_TRUE(waitForSemaphore(semaphore));
    EXPECT_TRUE(releaseSemaphore(semaphore));
}

TEST_F(NamedSemaphore, IsLoweredByOneAWait)
{
    SemaphoreHandle semaphore = create(2, 2);
    EXPECT_TRUE(waitForSemaphore(semaphore));
    EXPECT_EQ(1, countForeign(name));
    EXPECT_TRUE(waitForSemaphore(semaphore));
    EXPECT_EQ(0, countForeign(name));
}

TEST_F(NamedSemaphore, KeepsCountAndMaximumWhenCreatedAgain)
{
    create(1, 2);
    SemaphoreHandle again = create(0, 9);
    EXPECT_EQ(1, countForeign(name));
    EXPECT_TRUE(releaseSemaphore(again));
    EXPECT_FALSE(releaseSemaphore(again));
    EXPECT_EQ(2, countForeign(name));
}

TEST_F(NamedSemaphore, KeepsItsMaximumForThoseThatOpenIt)
{
    create(1, 1);
    SemaphoreHandle opened = open();
    EXPECT_FALSE(releaseSemaphore(opened));
}

TEST_F(NamedSemaphore, StaysUntilTheLastHandleIsClosed)
{
    SemaphoreHandle first = create(0, 1);
    SemaphoreHandle second = open();
    SemaphoreHandle third = create(0, 1);
    close(first);
    EXPECT_TRUE(existsForeign(name));
    close(third);
    EXPECT_TRUE(existsForeign(name));
    close(second);
    EXPECT_FALSE(existsForeign(name));
}

TEST_F(NamedSemaphore, KeepsItsCountWhenItsCreatorCloses)
{
    SemaphoreHandle creator = create(0, 1);
    SemaphoreHandle other = create(0, 1);
    EXPECT_TRUE(releaseSemaphore(creator));
    close(creator);
    EXPECT_EQ(1, countForeign(name));
    EXPECT_TRUE(waitForSemaphore(other));
}

TEST_F(NamedSemaphore, StartsAfreshAfterTheLastHandleWasClosed)
{
    SemaphoreHandle first = create(1, 1);
    close(first);
    SemaphoreHandle second = create(0, 2);
    EXPECT_EQ(0, countForeign(name));
    EXPECT_TRUE(releaseSemaphore(second));
    EXPECT_TRUE(releaseSemaphore(second));
}

TEST_F(NamedSemaphore, IsAnotherOneUnderAnotherName)
{
    const std::wstring otherName = uniqueSemaphoreName(L"other");
    SemaphoreHandle other = createNamedSemaphore(otherName.c_str(), 0, 1);
    create(1, 1);
    ASSERT_NE(nullptr, other);
    EXPECT_EQ(0, countForeign(otherName));
    closeSemaphore(other);
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(NamedSemaphore, TellsNamesOfDifferentCaseApart)
{
    const std::wstring lower = name + L"x";
    const std::wstring upper = name + L"X";
    SemaphoreHandle semaphore = createNamedSemaphore(lower.c_str(), 0, 1);
    ASSERT_NE(nullptr, semaphore);
    EXPECT_FALSE(existsForeign(upper));
    EXPECT_EQ(nullptr, openNamedSemaphore(upper.c_str()));
    closeSemaphore(semaphore);
}

TEST_F(NamedSemaphore, CannotHaveANameThatTheSystemDoesNotTake)
{
    EXPECT_EQ(nullptr, createNamedSemaphore(L"no/such\\name", 0, 1));
    EXPECT_EQ(nullptr, openNamedSemaphore(L"no/such\\name"));
}

TEST_F(NamedSemaphore, IsTheOneThatAForeignProgramMade)
{
    ASSERT_TRUE(createForeign(name, 2));
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_EQ(2, countForeign(name));
    EXPECT_TRUE(waitForSemaphore(semaphore));
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(NamedSemaphore, OpensWhatAForeignProgramMade)
{
    ASSERT_TRUE(createForeign(name, 0));
    SemaphoreHandle semaphore = open();
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(NamedSemaphore, DoesNotLimitAForeignSemaphoreToItsOwnMaximum)
{
    ASSERT_TRUE(createForeign(name, 1));
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_EQ(3, countForeign(name));
}

TEST_F(NamedSemaphore, NeverRemovesAForeignSemaphore)
{
    ASSERT_TRUE(createForeign(name, 1));
    close(create(0, 1));
    close(open());
    EXPECT_EQ(1, countForeign(name));
}

struct Waiting {
    SemaphoreHandle semaphore;
    std::atomic<bool> ended{false};
};

std::uint32_t wait(void* argument)
{
    auto* waiting = static_cast<Waiting*>(argument);
    waitForSemaphore(waiting->semaphore);
    waiting->ended = true;
    return 0;
}

struct PingPong {
    static constexpr int rounds = 500;
    SemaphoreHandle ping;
    SemaphoreHandle pong;
    std::atomic<int> turn{0};
    std::atomic<int> outOfTurn{0};
};

std::uint32_t answer(void* argument)
{
    auto* game = static_cast<PingPong*>(argument);
    for (int i = 0; i < PingPong::rounds; ++i) {
        waitForSemaphore(game->ping);
        if (game->turn++ != 2 * i + 1)
            ++game->outOfTurn;
        releaseSemaphore(game->pong);
    }
    return 0;
}

TEST_F(NamedSemaphore, HoldsAWaitUntilTheRelease)
{
    const std::wstring pongName = uniqueSemaphoreName(L"pong");
    PingPong game{create(0, 1), createNamedSemaphore(pongName.c_str(), 0, 1)};
    ASSERT_NE(nullptr, game.pong);
    const auto thread = startThreads(1, answer, &game);
    for (int i = 0; i < PingPong::rounds; ++i) {
        if (game.turn++ != 2 * i)
            ++game.outOfTurn;
        releaseSemaphore(game.ping);
        waitForSemaphore(game.pong);
    }
    joinThreads(thread);
    closeSemaphore(game.pong);
    EXPECT_EQ(0, game.outOfTurn);
}

TEST_F(NamedSemaphore, IsReleasedByAForeignProgram)
{
    Waiting waiting{create(0, 1)};
    const auto thread = startThreads(1, wait, &waiting);
    ASSERT_TRUE(postForeign(name));
    joinThreads(thread);
    EXPECT_TRUE(waiting.ended);
}

TEST_F(NamedSemaphore, LetsOneWaitGoOnARelease)
{
    Waiting waiting[2] = {{create(0, 2)}, {create(0, 2)}};
    const std::vector<ThreadHandle> threads{createThread(wait, &waiting[0]),
                                            createThread(wait, &waiting[1])};
    EXPECT_TRUE(releaseSemaphore(waiting[0].semaphore));
    while (!waiting[0].ended && !waiting[1].ended)
        pauseThread(1);
    EXPECT_NE(waiting[0].ended, waiting[1].ended);
    EXPECT_TRUE(releaseSemaphore(waiting[0].semaphore));
    joinThreads(threads);
}

struct Crowd {
    std::wstring name;
    std::atomic<int> failures{0};
    std::atomic<unsigned int> seed{1};
};

// Creates, opens, releases and closes at random.
std::uint32_t joinCrowd(void* argument)
{
    auto* crowd = static_cast<Crowd*>(argument);
    std::minstd_rand random(crowd->seed++);
    for (int round = 0; round < 400; ++round) {
        SemaphoreHandle semaphore = createNamedSemaphore(crowd->name.c_str(), 0, 3);
        if (!semaphore) {
            ++crowd->failures;
            continue;
        }
        if (random() % 2 == 0)
            releaseSemaphore(semaphore);
        SemaphoreHandle opened = openNamedSemaphore(crowd->name.c_str());
        if (!opened || !existsForeign(crowd->name))
            ++crowd->failures;
        if (opened && random() % 2 == 0)
            releaseSemaphore(opened);
        closeSemaphore(semaphore);
        if (!existsForeign(crowd->name))
            ++crowd->failures;
        if (opened)
            closeSemaphore(opened);
    }
    return 0;
}

TEST_F(NamedSemaphore, StaysWhileAnyOfManyThreadsHoldsIt)
{
    Crowd crowd{name};
    runThreads(4, joinCrowd, &crowd);
    EXPECT_EQ(0, crowd.failures);
    EXPECT_FALSE(existsForeign(name));
}

struct Releasing {
    SemaphoreHandle semaphore;
    std::atomic<int> succeeded{0};
};

std::uint32_t releaseManyTimes(void* argument)
{
    auto* releasing = static_cast<Releasing*>(argument);
    for (int i = 0; i < 500; ++i)
        if (releaseSemaphore(releasing->semaphore))
            ++releasing->succeeded;
    return 0;
}

TEST_F(NamedSemaphore, IsNotRaisedAboveItsMaximumByThreadsTogether)
{
    Releasing releasing{create(0, 100)};
    runThreads(4, releaseManyTimes, &releasing);
    EXPECT_EQ(100, releasing.succeeded);
    EXPECT_EQ(100, countForeign(name));
}

} // namespace
