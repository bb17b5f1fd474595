#include "platform/critical_section.h"

#include "tests/platform/run_threads.h"

#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>

namespace
{

struct Shared {
    static constexpr int rounds = 20000;
    CriticalSection section;
    int counter = 0;
    std::atomic<int> inside{0};
    std::atomic<bool> met{false};
};

void countOnce(Shared& shared)
{
    if (++shared.inside != 1)
        shared.met = true;
    ++shared.counter;
    --shared.inside;
}

std::uint32_t countInside(void* argument)
{
    auto* shared = static_cast<Shared*>(argument);
    for (int i = 0; i < Shared::rounds; ++i) {
        enterCriticalSection(shared->section);
        countOnce(*shared);
        leaveCriticalSection(shared->section);
    }
    return 0;
}

std::uint32_t countAfterAnInnerLevel(void* argument)
{
    auto* shared = static_cast<Shared*>(argument);
    for (int i = 0; i < Shared::rounds; ++i) {
        enterCriticalSection(shared->section);
        enterCriticalSection(shared->section);
        leaveCriticalSection(shared->section);
        countOnce(*shared);
        leaveCriticalSection(shared->section);
    }
    return 0;
}

std::uint32_t enterAndLeave(void* argument)
{
    auto* shared = static_cast<Shared*>(argument);
    enterCriticalSection(shared->section);
    ++shared->counter;
    leaveCriticalSection(shared->section);
    return 0;
}

TEST(CriticalSection, LetsOneThreadInAtATime)
{
    Shared shared;
    initializeCriticalSection(shared.section);
    runThreads(4, countInside, &shared);
    EXPECT_EQ(4 * Shared::rounds, shared.counter);
    EXPECT_FALSE(shared.met);
    deleteCriticalSection(shared.section);
}

TEST(CriticalSection, LetsTheThreadInsideGoDeeper)
{
    Shared shared;
    initializeCriticalSection(shared.section);
    for (int i = 0; i < 3; ++i)
        enterCriticalSection(shared.section);
    for (int i = 0; i < 3; ++i)
        leaveCriticalSection(shared.section);
    // Left as often as entered: another thread gets in.
    runThreads(1, enterAndLeave, &shared);
    EXPECT_EQ(1, shared.counter);
    deleteCriticalSection(shared.section);
}

TEST(CriticalSection, KeepsOthersOutUntilTheOutermostLevelIsLeft)
{
    Shared shared;
    initializeCriticalSection(shared.section);
    runThreads(4, countAfterAnInnerLevel, &shared);
    EXPECT_EQ(4 * Shared::rounds, shared.counter);
    EXPECT_FALSE(shared.met);
    deleteCriticalSection(shared.section);
}

TEST(CriticalSection, MayStillBeEnteredAndLeftWhenDeleted)
{
    Shared shared;
    initializeCriticalSection(shared.section);
    deleteCriticalSection(shared.section);
    for (int i = 0; i < 2; ++i) {
        enterCriticalSection(shared.section);
        enterCriticalSection(shared.section);
        ++shared.counter;
        leaveCriticalSection(shared.section);
        leaveCriticalSection(shared.section);
    }
    runThreads(1, enterAndLeave, &shared);
    EXPECT_EQ(3, shared.counter);
}

} // namespace
