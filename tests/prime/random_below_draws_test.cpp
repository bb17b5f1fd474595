// Draws below a bound from the clock-driven source, whose first byte is zero.
#include "prime/random_below.h"

#include "tests/fakes/clock.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace
{

// Clocks that read anything.
class DrawsOfTheClocks : public testing::Test
{
protected:
    void SetUp() override
    {
        fakeCalendarTime = [this] {
            ++calendarReads_;
            return static_cast<std::int64_t>(generator_());
        };
        fakeProcessClock = [this] {
            return static_cast<std::int32_t>(generator_());
        };
    }
    void TearDown() override
    {
        fakeCalendarTime = [] {
            return std::int64_t{0};
        };
        fakeProcessClock = [] {
            return 0;
        };
    }

    BigNumber below(const BIGNUM* bound)
    {
        BigNumber result = fromWord(0xC0FFEE);
        EXPECT_EQ(1, getRandomBelow(result.get(), bound));
        return result;
    }

    // One read on entry and one for each byte.
    int calendarReads_ = 0;

private:
    // The same readings in every run.
    std::mt19937_64 generator_{20240501}; // NOLINT(cert-msc32-c,cert-msc51-cpp)
};

constexpr int rounds = 200;

} // namespace

TEST_F(DrawsOfTheClocks, AreZeroBelowTwoAndThree)
{
    for (const BN_ULONG bound : {2U, 3U})
        for (int i = 0; i < rounds; ++i)
            EXPECT_EQ("0", toHex(below(fromWord(bound).get()).get())) << bound;
}

TEST_F(DrawsOfTheClocks, AskForOneByteForTheSmallestBounds)
{
    below(fromWord(2).get());
    EXPECT_EQ(2, calendarReads_);
    below(fromWord(3).get());
    EXPECT_EQ(4, calendarReads_);
}

TEST_F(DrawsOfTheClocks, AreZeroBelowABoundOfOneByteThatStartsWith11Or101)
{
    for (BN_ULONG bound = 2; bound < 256; ++bound) {
        const BigNumber number = fromWord(bound);
        const int bits = BN_num_bits(number.get());
        if (!BN_is_bit_set(number.get(), bits - 2) &&
            !BN_is_bit_set(number.get(), bits - 3))
            continue;
        EXPECT_EQ("0", toHex(below(number.get()).get())) << bound;
    }
}

TEST_F(DrawsOfTheClocks, AreZeroBelowABoundOf7BitsThatStartsWith100)
{
    for (const BN_ULONG bound : {2U, 4U, 8U, 9U, 16U, 19U, 32U, 39U, 64U, 79U})
        EXPECT_EQ("0", toHex(below(fromWord(bound).get()).get())) << bound;
}

TEST_F(DrawsOfTheClocks, AreNotAllZeroBelowABoundOf8BitsThatStartsWith100)
{
    const BigNumber bound = fromWord(0x80);
    int others = 0;
    for (int i = 0; i < rounds; ++i)
        others += !BN_is_zero(below(bound.get()).get());
    EXPECT_GT(others, 0);
}

TEST_F(DrawsOfTheClocks, StayBelow2To1016UnderABoundOf1024Ones)
{
    const BigNumber bound = fromHex(oracle::powerOfTwo(1024, -1));
    int widest = 0;
    for (int i = 0; i < rounds; ++i)
        widest = std::max(widest, BN_num_bits(below(bound.get()).get()));
    EXPECT_LE(widest, 1016);
    EXPECT_GT(widest, 1008);
    EXPECT_EQ(rounds * 129, calendarReads_);
}

TEST_F(DrawsOfTheClocks, StayBelow2To1023InOneDraw)
{
    const BigNumber bound = fromHex(oracle::powerOfTwo(1023, 0));
    for (int i = 0; i < rounds; ++i)
        EXPECT_LT(BN_cmp(below(bound.get()).get(), bound.get()), 0);
    EXPECT_EQ(rounds * 130, calendarReads_);
}
