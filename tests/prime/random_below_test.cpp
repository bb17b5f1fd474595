#include "prime/random_below.h"

#include "tests/prime/engine.h"
#include "tests/prime/random_draws.h"
#include "tests/prime/watched_draws.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>

namespace
{

using Script = RandomDraws::Script;

// What the result holds before a draw.
constexpr BN_ULONG untouched = 0xC0FFEE;

struct Drawn {
    int returned;
    std::string value;
    std::vector<int> counts;
};

Drawn drawBelow(const BIGNUM* bound, RandomDraws& draws)
{
    const BigNumber result = fromWord(untouched);
    const int returned = getRandomBelow(result.get(), bound);
    return {returned, toHex(result.get()), draws.counts};
}

Drawn drawBelow(const std::string& bound, const Script& script)
{
    RandomDraws draws(script);
    return drawBelow(fromHex(bound).get(), draws);
}

Drawn drawFailing(const std::string& bound, const Script& script, int failsFrom,
                  int failure)
{
    RandomDraws draws(script);
    draws.failsFrom = failsFrom;
    draws.failure = failure;
    return drawBelow(fromHex(bound).get(), draws);
}

// `high` draws at the bound or above it, then `last` for ever.
Script highDraws(int high, std::uint8_t value, std::uint8_t last)
{
    Script script(static_cast<std::size_t>(high), {value});
    script.push_back({last});
    return script;
}

} // namespace

TEST(RandomBelow, RefusesABoundOfZero)
{
    const Drawn drawn = drawBelow("0", {{1}});
    EXPECT_EQ(0, drawn.returned);
    EXPECT_EQ("C0FFEE", drawn.value);
    EXPECT_TRUE(drawn.counts.empty());
}

TEST(RandomBelow, RefusesANegativeBound)
{
    const Drawn drawn = drawBelow("-7", {{1}});
    EXPECT_EQ(0, drawn.returned);
    EXPECT_EQ("C0FFEE", drawn.value);
    EXPECT_TRUE(drawn.counts.empty());
}

TEST(RandomBelow, IsZeroBelowOneWithoutADraw)
{
    const Drawn drawn = drawBelow("1", {{1}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("0", drawn.value);
    EXPECT_TRUE(drawn.counts.empty());
}

TEST(RandomBelow, TakesADrawOfTheBoundsWidthWhereTheBoundStartsWith11)
{
    // Bound 11 binary: FF is cut to 11, too high; FE to 10.
    const Drawn drawn = drawBelow("3", {{0xFF}, {0xFE}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("2", drawn.value);
    EXPECT_EQ((std::vector<int>{1, 1}), drawn.counts);
}

TEST(RandomBelow, TakesADrawOfTheBoundsWidthWhereTheBoundStartsWith101)
{
    // Bound 101 binary: FD is cut to 101, the bound itself; FC to 100.
    const Drawn drawn = drawBelow("5", {{0xFD}, {0xFC}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("4", drawn.value);
    EXPECT_EQ((std::vector<int>{1, 1}), drawn.counts);
}

TEST(RandomBelow, KeepsAllBitsOfWholeBytes)
{
    EXPECT_EQ("FE", drawBelow("FF", {{0xFE}}).value);
    EXPECT_EQ("FEFF", drawBelow("FFFF", {{0xFE, 0xFF}}).value);
}

TEST(RandomBelow, ReadsTheFirstByteAsTheHighest)
{
    EXPECT_EQ("123456", drawBelow("FF0000", {{0x12, 0x34, 0x56}}).value);
}

TEST(RandomBelow, CutsOnlyTheFirstByteToTheWidth)
{
    // 12 bits: the first byte keeps 4.
    EXPECT_EQ("CFF", drawBelow("D00", {{0xFC, 0xFF}}).value);
}

TEST(RandomBelow, ForcesNoBit)
{
    EXPECT_EQ("0", drawBelow("FFFF", {{0x00, 0x00}}).value);
    EXPECT_EQ("0", drawBelow("8000", {{0x00, 0x00, 0x00}}).value);
}

TEST(RandomBelow, KeepsALowDrawWhereTheBoundStartsWith100)
{
    EXPECT_EQ("3", drawBelow("4", {{0x03}}).value);
}

TEST(RandomBelow, SubtractsTheBoundOnce)
{
    EXPECT_EQ("0", drawBelow("4", {{0x04}}).value);
    EXPECT_EQ("3", drawBelow("4", {{0x07}}).value);
}

TEST(RandomBelow, SubtractsTheBoundTwice)
{
    EXPECT_EQ("0", drawBelow("4", {{0x08}}).value);
    EXPECT_EQ("3", drawBelow("4", {{0x0B}}).value);
}

TEST(RandomBelow, DrawsAgainAtThreeTimesTheBound)
{
    // Bound 100 binary: FC is cut to 1100, which two subtractions leave at 100.
    const Drawn drawn = drawBelow("4", {{0xFC}, {0x01}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("1", drawn.value);
    EXPECT_EQ((std::vector<int>{1, 1}), drawn.counts);
}

TEST(RandomBelow, TreatsTwoAsABoundThatStartsWith100)
{
    // A draw of 3 bits: FF is cut to 7, too high after two subtractions; 5 gives 1.
    const Drawn drawn = drawBelow("2", {{0xFF}, {0x05}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("1", drawn.value);
    EXPECT_EQ((std::vector<int>{1, 1}), drawn.counts);
}

TEST(RandomBelow, Draws128BytesForABoundOf1024Ones)
{
    const Drawn drawn = drawBelow(oracle::powerOfTwo(1024, -1), {{0x2A}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("2A", drawn.value);
    EXPECT_EQ(std::vector<int>{128}, drawn.counts);
}

TEST(RandomBelow, Draws129BytesForAOneBefore1023Zeros)
{
    const Drawn drawn = drawBelow(oracle::powerOfTwo(1023, 0), {{0x2A}});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("2A", drawn.value);
    EXPECT_EQ(std::vector<int>{129}, drawn.counts);
}

TEST(RandomBelow, ReducesADrawAbove2To1023Once)
{
    RandomDraws::Bytes draw(129, 0x00);
    draw[1] = 0x80;
    draw[128] = 0x07;
    const Drawn drawn = drawBelow(oracle::powerOfTwo(1023, 0), {draw});
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("7", drawn.value);
    EXPECT_EQ(std::vector<int>{129}, drawn.counts);
}

TEST(RandomBelow, SucceedsWithThe99thDraw)
{
    const Drawn drawn = drawBelow("3", highDraws(98, 3, 1));
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("1", drawn.value);
    EXPECT_EQ(99u, drawn.counts.size());
}

TEST(RandomBelow, FailsAtThe100thDrawEvenWhenThatIsLowEnough)
{
    const Drawn drawn = drawBelow("3", highDraws(99, 3, 1));
    EXPECT_EQ(0, drawn.returned);
    EXPECT_EQ("1", drawn.value);
    EXPECT_EQ(100u, drawn.counts.size());
}

TEST(RandomBelow, FailsAtThe100thDrawThatIsTooHigh)
{
    const Drawn drawn = drawBelow("3", highDraws(1, 3, 3));
    EXPECT_EQ(0, drawn.returned);
    EXPECT_EQ(100u, drawn.counts.size());
}

TEST(RandomBelow, SucceedsWithThe99thReducedDraw)
{
    const Drawn drawn = drawBelow("4", highDraws(98, 12, 9));
    EXPECT_EQ(1, drawn.returned);
    EXPECT_EQ("1", drawn.value);
    EXPECT_EQ(99u, drawn.counts.size());
}

TEST(RandomBelow, FailsAtThe100thReducedDrawEvenWhenThatIsLowEnough)
{
    const Drawn drawn = drawBelow("4", highDraws(99, 12, 9));
    EXPECT_EQ(0, drawn.returned);
    EXPECT_EQ("1", drawn.value);
    EXPECT_EQ(100u, drawn.counts.size());
}

TEST(RandomBelow, FailsAtThe100thReducedDrawThatIsTooHigh)
{
    const Drawn drawn = drawBelow("4", highDraws(1, 12, 12));
    EXPECT_EQ(0, drawn.returned);
    EXPECT_EQ(100u, drawn.counts.size());
}

TEST(RandomBelow, LeavesTheResultAloneWhenTheSourceFails)
{
    for (const char* bound : {"3", "4"}) {
        for (const int failure : {0, -1}) {
            const Drawn drawn = drawFailing(bound, {{1}}, 0, failure);
            EXPECT_EQ(0, drawn.returned) << bound;
            EXPECT_EQ("C0FFEE", drawn.value) << bound;
            EXPECT_EQ(1u, drawn.counts.size()) << bound;
        }
    }
}

TEST(RandomBelow, KeepsTheLastDrawWhenTheSourceFailsLater)
{
    const Drawn plain = drawFailing("3", {{3}}, 1, 0);
    EXPECT_EQ(0, plain.returned);
    EXPECT_EQ("3", plain.value);
    const Drawn reduced = drawFailing("4", {{15}}, 1, 0);
    EXPECT_EQ(0, reduced.returned);
    EXPECT_EQ("7", reduced.value);
}

TEST(RandomBelow, LeavesTheResultAloneWithoutMemory)
{
    RandomDraws draws(Script{{1}});
    const BigNumber bound = fromWord(1000);
    const BigNumber result = fromWord(untouched);
    arrayAllocationFails = true;
    const int returned = getRandomBelow(result.get(), bound.get());
    arrayAllocationFails = false;
    EXPECT_EQ(0, returned);
    EXPECT_EQ("C0FFEE", toHex(result.get()));
    EXPECT_TRUE(draws.counts.empty());
}

TEST(RandomBelow, WipesTheBytesOfEveryDraw)
{
    arrayWatch = {};
    RandomDraws draws(Script{{0xFF, 0xFF, 0xFF}, {0x12, 0x34, 0x56}});
    draws.sees = watchBuffer;
    EXPECT_EQ(1, drawBelow(fromHex("FF0000").get(), draws).returned);
    EXPECT_EQ(2, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

TEST(RandomBelow, WipesTheBytesOfAFailedDraw)
{
    arrayWatch = {};
    RandomDraws draws(Script{{0}});
    draws.failsFrom = 0;
    draws.sees = watchBuffer;
    EXPECT_EQ(0, drawBelow(fromHex("FF0000").get(), draws).returned);
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}
