// The memory that the sieves of a process share.
#include "prime/sieve_memory.h"

#include "prime/candidate_sieve.h"
#include "prime/search_sieve.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <array>
#include <gtest/gtest.h>
#include <vector>

namespace
{

// The plan with the longest reach.
SievePlan largestPlan()
{
    return planSieve(16384, modeFromBase | modeSafe);
}

struct Sharer {
    SievePlan plan;
    SieveMemory memory;
};

std::vector<Sharer> reserveFor(int count)
{
    std::vector<Sharer> sharers;
    for (int i = 0; i < count; ++i) {
        SievePlan plan = largestPlan();
        SieveMemory memory = reserveSieveMemory(plan);
        sharers.push_back({plan, std::move(memory)});
    }
    return sharers;
}

std::size_t bytesOf(const std::vector<Sharer>& sharers)
{
    std::size_t sum = 0;
    for (const Sharer& sharer : sharers)
        sum += segmentBytes(sharer.plan);
    return sum;
}

TEST(SieveMemory, SufficesFor63WholePlans)
{
    for (const Sharer& sharer : reserveFor(63))
        EXPECT_EQ(largestPlan().reach, sharer.plan.reach);
}

TEST(SieveMemory, IsLimitedForAnyNumberOfSieves)
{
    const auto sharers = reserveFor(5000);
    EXPECT_LE(bytesOf(sharers), sieveMemoryLimit);
    EXPECT_EQ(0U, sharers.back().plan.reach);
}

TEST(SieveMemory, IsSharedInSmallerPartsWhereItEnds)
{
    const auto sharers = reserveFor(100);
    std::uint32_t before = largestPlan().reach;
    for (const Sharer& sharer : sharers) {
        EXPECT_LE(sharer.plan.reach, before);
        EXPECT_EQ(0U, sharer.plan.reach % sharer.plan.segmentLength);
        EXPECT_EQ(0U, sharer.plan.segmentLength % 64);
        before = sharer.plan.reach;
    }
    EXPECT_GT(before, 0U);
    EXPECT_LT(before, largestPlan().reach);
}

TEST(SieveMemory, IsGivenBackOnce)
{
    for (int round = 0; round < 3; ++round) {
        auto sharers = reserveFor(5000);
        EXPECT_EQ(largestPlan().reach, sharers.front().plan.reach);
        const std::vector<Sharer> moved = std::move(sharers);
        SievePlan plan = largestPlan();
        const SieveMemory none = reserveSieveMemory(plan);
        EXPECT_EQ(0U, plan.reach);
    }
}

TEST(SieveMemory, LeavesAPlanWithoutAReachAsItIs)
{
    SievePlan plan = planSieve(512, 0);
    const SieveMemory none = reserveSieveMemory(plan);
    EXPECT_EQ(0U, segmentBytes(plan));
}

// What a sieve with shortened segments yields is what one with whole ones does.
TEST(SieveMemory, ChangesNoCandidateWhereItIsShort)
{
    constexpr int bits = 2048;
    constexpr int mode = modeFromBase | modeSafe;
    const SievePlan plan = planSieve(bits, mode);
    const std::string start = oracle::randomNumber(bits, 1);
    const Context context = newContext();
    const auto yield = [&](SearchSieve sieve) {
        std::array<std::uint16_t, smallPrimeCount> residues{};
        const BigNumber candidate = fromHex(start);
        std::vector<std::string> candidates;
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(1, nextSievedCandidate(sieve, candidate.get(), mode,
                                             residues.data(), context.get()));
            candidates.push_back(toHex(candidate.get()));
        }
        return candidates;
    };
    const auto whole = yield(makeSearchSieve(bits, plan));
    const auto sharers = reserveFor(5000);
    SearchSieve shortened = makeSearchSieve(bits, plan);
    EXPECT_LT(shortened.plan.reach, plan.reach);
    EXPECT_EQ(whole, yield(std::move(shortened)));
}

} // namespace
