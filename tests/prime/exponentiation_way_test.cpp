#include "prime/exponentiation_way.h"

#include <gtest/gtest.h>
#include <set>

namespace
{

using Way = ExponentiationWay;
constexpr int bits = 1024;

// The choice is the process's: one test takes it from its beginning.
TEST(ExponentiationWays, AreTriedInTurnThenTheFastestIsTaken)
{
    EXPECT_EQ(Way::slidingWindow, singleWay(bits, true));
    EXPECT_EQ(Way::slidingWindow, witnessWay(bits));
    EXPECT_EQ(Way::constantTime, singleWay(512, false));

    std::set<Way> tried;
    for (std::size_t i = 0; i < wayCount; ++i) {
        const Way way = rejectionWay(bits);
        EXPECT_TRUE(tried.insert(way).second);
        // Two numbers at once: half of it each.
        const double seconds[] = {4, 3, 3, 2.5};
        noteExponentiations(way, way == Way::twoAtOnce ? 2 : 1,
                            seconds[static_cast<std::size_t>(way)]);
    }
    EXPECT_EQ(Way::twoAtOnce, rejectionWay(bits));
    EXPECT_EQ(Way::twoAtOnce, witnessWay(bits));
    EXPECT_EQ(Way::squarings, singleWay(bits, true));
    EXPECT_EQ(Way::constantTime, singleWay(bits, false));

    // A way that was slowed down when it was tried is tried again, and not for ever.
    int others = 0;
    for (int i = 0; i < 100'000; ++i) {
        const Way way = rejectionWay(bits);
        others += way == Way::twoAtOnce ? 0 : 1;
        noteExponentiations(way, 1, way == Way::squarings ? 1 : 2);
        if (others == 1)
            break;
    }
    EXPECT_EQ(1, others);
    int squarings = 0;
    for (int i = 0; i < 100'000; ++i) {
        const Way way = rejectionWay(bits);
        squarings += way == Way::squarings ? 1 : 0;
        noteExponentiations(way, 1, way == Way::squarings ? 1 : 2);
    }
    EXPECT_GT(squarings, 99'000);
    EXPECT_LT(squarings, 100'000);
}

} // namespace
