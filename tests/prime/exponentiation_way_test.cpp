#include "prime/exponentiation_way.h"

#include <gtest/gtest.h>
#include <map>

namespace
{

using Way = ExponentiationWay;
constexpr int bits = 1024;

// Says that one use of the way took so long for each of its exponentiations.
void note(Way way, double seconds)
{
    const int count = way == Way::twoAtOnce ? 2 : 1;
    noteExponentiations(way, count, count * seconds);
}

// Uses the ways for so many rejections, each at the same speed. Returns how many went by
// each way.
std::map<Way, int> useWays(int rejections, const std::map<Way, double>& seconds)
{
    std::map<Way, int> counts;
    for (int i = 0; i < rejections; ++i) {
        const Way way = rejectionWay(bits);
        ++counts[way];
        note(way, seconds.at(way));
    }
    return counts;
}

// The choice is the process's: one test takes it from its beginning.
TEST(ExponentiationWays, AreTriedInTurnThenTheFastestIsTaken)
{
    EXPECT_EQ(Way::slidingWindow, singleWay(bits, true));
    EXPECT_EQ(Way::slidingWindow, witnessWay(bits));
    EXPECT_EQ(Way::constantTime, singleWay(512, false));
    EXPECT_EQ(Way::constantTime, singleWay(512, true));
    EXPECT_EQ(Way::constantTime, witnessWay(512));
    EXPECT_EQ(Way::constantTime, rejectionWay(512));

    // The two that are fastest on some machine come first.
    EXPECT_EQ(Way::squarings, rejectionWay(bits));
    note(Way::squarings, 3);
    EXPECT_EQ(Way::twoAtOnce, rejectionWay(bits));
    note(Way::twoAtOnce, 4);
    EXPECT_EQ(Way::squarings, rejectionWay(bits));
    EXPECT_EQ(Way::squarings, singleWay(bits, true));
    EXPECT_EQ(Way::slidingWindow, witnessWay(bits));

    // A short search tries no other. A longer one tries each once before any again.
    const std::map<Way, double> first = {{Way::squarings, 3},
                                         {Way::twoAtOnce, 4},
                                         {Way::slidingWindow, 3.5},
                                         {Way::constantTime, 3.4}};
    EXPECT_EQ((std::map<Way, int>{{Way::squarings, 20}}), useWays(20, first));
    auto counts = useWays(78, first);
    EXPECT_EQ(1, counts[Way::slidingWindow]);
    EXPECT_EQ(1, counts[Way::constantTime]);
    EXPECT_EQ(0, counts[Way::twoAtOnce]);
    EXPECT_EQ(76, counts[Way::squarings]);

    // A single slow use changes nothing.
    note(Way::squarings, 100);
    EXPECT_EQ(Way::squarings, singleWay(bits, true));

    // A little faster is not enough for a witness, alone or with another.
    EXPECT_EQ(Way::slidingWindow, singleWay(bits, false));
    EXPECT_EQ(Way::slidingWindow, witnessWay(bits));

    // A way that was slowed down when it was tried is tried again, and not for ever.
    const std::map<Way, double> seconds = {{Way::squarings, 3},
                                           {Way::twoAtOnce, 1.5},
                                           {Way::slidingWindow, 3.5},
                                           {Way::constantTime, 3.4}};
    counts = useWays(1'010, seconds);
    EXPECT_GT(counts[Way::twoAtOnce], 500);
    EXPECT_EQ(Way::twoAtOnce, rejectionWay(bits));
    EXPECT_EQ(Way::twoAtOnce, witnessWay(bits));
    EXPECT_EQ(Way::squarings, singleWay(bits, true));
    useWays(10'000, seconds);
    EXPECT_EQ((std::map<Way, int>{{Way::twoAtOnce, 10'000}}), useWays(10'000, seconds));

    // A little faster than the usual way is not enough, however slow the squarings are.
    note(Way::slidingWindow, 1.6);
    EXPECT_EQ(Way::slidingWindow, witnessWay(bits));
    note(Way::constantTime, 1.4);
    EXPECT_EQ(Way::constantTime, singleWay(bits, false));
}

} // namespace
