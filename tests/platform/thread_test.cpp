#include "platform/thread.h"

#include "tests/platform/run_threads.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <gtest/gtest.h>
#include <set>
#include <vector>

namespace
{

// Threads that run until they are let go.
struct Gate {
    std::atomic<int> arrived{0};
    std::atomic<int> left{0};
    std::atomic<bool> open{false};
};

std::uint32_t passGate(void* argument)
{
    auto* gate = static_cast<Gate*>(argument);
    ++gate->arrived;
    while (!gate->open)
        pauseThread(1);
    ++gate->left;
    return 0;
}

std::uint32_t setToSeven(void* argument)
{
    *static_cast<int*>(argument) = 7;
    return 0;
}

std::uint32_t fetchId(void* argument)
{
    *static_cast<std::uint32_t*>(argument) = currentThreadId();
    return 0;
}

TEST(Thread, RunsItsProcedureWithItsArgument)
{
    int value = 0;
    ThreadHandle thread = createThread(setToSeven, &value);
    ASSERT_NE(nullptr, thread);
    ASSERT_TRUE(waitForThreads(&thread, 1));
    EXPECT_EQ(7, value);
    closeThread(thread);
}

std::uint32_t countUp(void* argument)
{
    ++*static_cast<std::atomic<int>*>(argument);
    return 0;
}

// A thread may end at the very moment at which its handle is given up.
TEST(Thread, MayEndWhileItIsClosed)
{
    constexpr int rounds = 100;
    constexpr int threads = 64;
    std::atomic<int> ended{0};
    for (int round = 0; round < rounds; ++round)
        for (const ThreadHandle thread : startThreads(threads, countUp, &ended))
            closeThread(thread);
    while (ended < rounds * threads)
        pauseThread(1);
    EXPECT_EQ(rounds * threads, ended);
}

TEST(Thread, WaitsForAllOfThem)
{
    Gate gate;
    const auto threads = startThreads(5, passGate, &gate);
    gate.open = true;
    EXPECT_TRUE(waitForThreads(threads.data(), 5));
    EXPECT_EQ(5, gate.left);
    closeThreads(threads);
}

TEST(Thread, WaitsForAsManyAsOneWaitTakes)
{
    Gate gate;
    const auto threads = startThreads(64, passGate, &gate);
    gate.open = true;
    EXPECT_TRUE(waitForThreads(threads.data(), 64));
    EXPECT_EQ(64, gate.left);
    closeThreads(threads);
}

TEST(Thread, DoesNotWaitForMoreThanOneWaitTakes)
{
    // The threads run until the wait is over: it did not wait for them.
    Gate gate;
    const auto threads = startThreads(65, passGate, &gate);
    EXPECT_FALSE(waitForThreads(threads.data(), 65));
    EXPECT_EQ(0, gate.left);
    gate.open = true;
    EXPECT_TRUE(waitForThreads(threads.data(), 64));
    EXPECT_TRUE(waitForThreads(&threads[64], 1));
    closeThreads(threads);
}

TEST(Thread, DoesNotWaitWhenAHandleIsMissing)
{
    Gate gate;
    ThreadHandle threads[] = {createThread(passGate, &gate), nullptr};
    EXPECT_FALSE(waitForThreads(threads, 2));
    EXPECT_EQ(0, gate.left);
    gate.open = true;
    EXPECT_TRUE(waitForThreads(threads, 1));
    closeThread(threads[0]);
}

TEST(Thread, DoesNotWaitForNone)
{
    ThreadHandle none = nullptr;
    EXPECT_FALSE(waitForThreads(&none, 0));
    EXPECT_FALSE(waitForThreads(&none, -1));
}

TEST(Thread, CanBeWaitedForAgain)
{
    int value = 0;
    ThreadHandle thread = createThread(setToSeven, &value);
    EXPECT_TRUE(waitForThreads(&thread, 1));
    EXPECT_TRUE(waitForThreads(&thread, 1));
    closeThread(thread);
}

TEST(Thread, GoesOnWhenItsHandleIsClosed)
{
    static Gate gate;
    closeThread(createThread(passGate, &gate));
    gate.open = true;
    while (gate.left == 0)
        pauseThread(1);
    EXPECT_EQ(1, gate.left);
}

TEST(CurrentThreadId, StaysTheSame)
{
    EXPECT_EQ(currentThreadId(), currentThreadId());
}

struct Arrival {
    Gate* gate;
    std::uint32_t id;
};

std::uint32_t fetchIdAndPassGate(void* argument)
{
    auto* arrival = static_cast<Arrival*>(argument);
    arrival->id = currentThreadId();
    return passGate(arrival->gate);
}

TEST(CurrentThreadId, DiffersBetweenThreadsAliveTogether)
{
    Gate gate;
    std::vector<Arrival> arrivals(8, Arrival{&gate, 0});
    std::vector<ThreadHandle> threads(8);
    for (std::size_t i = 0; i < 8; ++i)
        threads[i] = createThread(fetchIdAndPassGate, &arrivals[i]);
    while (gate.arrived < 8)
        pauseThread(1);
    gate.open = true;
    joinThreads(threads);

    std::set<std::uint32_t> ids{currentThreadId()};
    for (const Arrival& arrival : arrivals)
        ids.insert(arrival.id);
    EXPECT_EQ(9U, ids.size());
}

TEST(CurrentThreadId, IsNeverTheOneThatStandsForNoThread)
{
    std::uint32_t id = 0xFFFFFFFF;
    ThreadHandle thread = createThread(fetchId, &id);
    ASSERT_TRUE(waitForThreads(&thread, 1));
    closeThread(thread);
    EXPECT_NE(0xFFFFFFFF, id);
}

TEST(PauseThread, LetsAtLeastThatTimePass)
{
    const auto start = std::chrono::steady_clock::now();
    pauseThread(20);
    EXPECT_LE(std::chrono::milliseconds(20), std::chrono::steady_clock::now() - start);
}

} // namespace
