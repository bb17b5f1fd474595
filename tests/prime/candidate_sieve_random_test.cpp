// The sieve from a random start.
#include "prime/candidate_sieve.h"

#include "tests/prime/engine.h"
#include "tests/prime/random_draws.h"
#include "tests/prime/watched_draws.h"
#include "tests/support/gmp_oracle.h"

#include <array>
#include <gtest/gtest.h>

namespace
{

using Script = RandomDraws::Script;

class RandomCandidate : public testing::Test
{
protected:
    // The candidate of `bits` bits from these random bytes.
    std::string draw(int bits, const Script& script, int mode = 0)
    {
        RandomDraws draws(script);
        EXPECT_EQ(1, search(bits, draws, mode));
        counts_ = draws.counts;
        return toHex(candidate_.get());
    }

    int search(int bits, RandomDraws& draws, int mode = 0)
    {
        const int returned =
            nextCandidate(candidate_.get(), bits, mode, residues_.data(), context_.get());
        counts_ = draws.counts;
        return returned;
    }

    void SetUp() override
    {
        arrayWatch = {};
    }
    void TearDown() override
    {
        arrayAllocationFails = false;
    }

    std::array<std::uint16_t, smallPrimeCount> residues_{};
    Context context_ = newContext();
    // A number that the random start has nothing to do with.
    BigNumber candidate_ = fromHex("ABCDEF'0123'4567'89AB");
    // How many bytes each draw asked for.
    std::vector<int> counts_;
};

} // namespace

TEST_F(RandomCandidate, StartsWithItsTwoTopBitsSetAndOdd)
{
    // The start C001 = 49153 is 13 * 19 * 199; 49157 is prime.
    EXPECT_EQ("C005", draw(16, {{0x00, 0x00}}));
    EXPECT_EQ(std::vector<int>{2}, counts_);
    EXPECT_EQ(1, residues_[1]);   // modulo 3
    EXPECT_EQ(3, residues_[2]);   // modulo 5
    EXPECT_EQ(0, residues_[5]);   // modulo 13
    EXPECT_EQ(15, residues_[63]); // modulo 311
}

TEST_F(RandomCandidate, ReadsTheFirstByteAsTheHighest)
{
    // D235 = 53813 is prime.
    EXPECT_EQ("D235", draw(16, {{0x12, 0x34}}));
}

TEST_F(RandomCandidate, DropsTheBitsAboveItsSize)
{
    // F0C0 cut to 12 bits is 0C0, with the top bits CC1 = 3265; 3271 is prime.
    EXPECT_EQ("CC7", draw(12, {{0xF0, 0xC0}}));
    EXPECT_EQ(std::vector<int>{2}, counts_);
}

TEST_F(RandomCandidate, SetsTwoTopBitsOnBothSidesOfAByte)
{
    // 9 bits: 01 80 and odd is 385 = 5 * 77; 389 is prime.
    EXPECT_EQ("185", draw(9, {{0x00, 0x00}}));
    // The first byte gives its one bit only.
    EXPECT_EQ("185", draw(9, {{0xFE, 0x00}}));
}

TEST_F(RandomCandidate, KeepsTheBytesBehindASingleTopBit)
{
    // 17 bits: 01, 80 | 12, 34 | 1 = 19235; 19237 = 102967 is prime.
    EXPECT_EQ(oracle::nextCandidate("19233", {17, false}),
              draw(17, {{0x00, 0x12, 0x34}}));
    EXPECT_EQ(std::vector<int>{3}, counts_);
}

TEST_F(RandomCandidate, TakesTwoBitsAsTheSmallestSize)
{
    EXPECT_EQ("3", draw(2, {{0x00}}));
}

TEST_F(RandomCandidate, StartsASafeSearchThreeModuloFour)
{
    // C1 with bit 1 is C3 = 195; the next safe prime is 227.
    EXPECT_EQ("E3", draw(8, {{0x00}}, modeSafe));
}

TEST_F(RandomCandidate, DrawsAgainWhenTheOffsetPassesTheTop)
{
    // FF is composite and 101 too long; the second draw, C1 = 193, is prime.
    EXPECT_EQ("C1", draw(8, {{0xFF}, {0x00}}));
    EXPECT_EQ((std::vector<int>{1, 1}), counts_);
}

TEST_F(RandomCandidate, IsNotDrawnWhenABaseIsGiven)
{
    RandomDraws draws(Script{{0x00}});
    EXPECT_EQ(1, search(64, draws, modeFromBase));
    EXPECT_EQ(1, search(64, draws, modeFromBase | modeSafe));
    EXPECT_TRUE(draws.counts.empty());
}

TEST_F(RandomCandidate, IgnoresAllOtherBitsOfTheMode)
{
    EXPECT_EQ("C1", draw(8, {{0x00}}, ~(modeSafe | modeFromBase)));
}

TEST_F(RandomCandidate, FailsWithoutADrawBelowTwoBits)
{
    RandomDraws draws(Script{{0x00}});
    for (const int bits : {1, 0, -1})
        EXPECT_EQ(0, search(bits, draws)) << bits;
    EXPECT_TRUE(draws.counts.empty());
}

TEST_F(RandomCandidate, FailsWhenTheSourceDoes)
{
    for (const int failure : {0, -1}) {
        RandomDraws draws(Script{{0x00}});
        draws.failsFrom = 0;
        draws.failure = failure;
        EXPECT_EQ(0, search(64, draws));
        EXPECT_EQ(1u, draws.counts.size());
    }
}

TEST_F(RandomCandidate, FailsWithoutMemory)
{
    RandomDraws draws(Script{{0x00}});
    arrayAllocationFails = true;
    EXPECT_EQ(0, search(64, draws));
    EXPECT_TRUE(draws.counts.empty());
}

TEST_F(RandomCandidate, WipesItsBytes)
{
    RandomDraws draws(Script{{0x12, 0x34, 0x56, 0x78}});
    draws.sees = watchBuffer;
    EXPECT_EQ(1, search(64, draws));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

TEST_F(RandomCandidate, WipesItsBytesWhenTheSourceFails)
{
    RandomDraws draws(Script{{0x12}});
    draws.failsFrom = 0;
    draws.sees = watchBuffer;
    EXPECT_EQ(0, search(64, draws));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}
