#include "prime/random_bytes.h"

#include "tests/fakes/clock.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

// The clocks by script: each read gives the next entry, the last one for ever.
class RandomBytes : public testing::Test
{
protected:
    void setClocks(std::vector<std::int64_t> times, std::vector<std::int32_t> ticks)
    {
        fakeCalendarTime = [this, times, next = std::size_t{0}]() mutable {
            reads_ += 'T';
            return times[std::min(next++, times.size() - 1)];
        };
        fakeProcessClock = [this, ticks, next = std::size_t{0}]() mutable {
            reads_ += 'C';
            return ticks[std::min(next++, ticks.size() - 1)];
        };
    }

    void SetUp() override
    {
        setClocks({1'700'000'000}, {1});
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

    static Bytes draw(std::int32_t count)
    {
        Bytes bytes(static_cast<std::size_t>(count), 0xEE);
        EXPECT_EQ(count, getRandomBytes(bytes.data(), count));
        return bytes;
    }

    // The reads so far: T for the calendar, C for the process clock.
    std::string reads_;
};

} // namespace

TEST_F(RandomBytes, WriteNothingForACountOfZero)
{
    std::uint8_t byte = 0xEE;
    EXPECT_EQ(0, getRandomBytes(&byte, 0));
    EXPECT_EQ(0xEE, byte);
}

TEST_F(RandomBytes, WriteNothingForANegativeCount)
{
    std::uint8_t byte = 0xEE;
    EXPECT_EQ(0, getRandomBytes(&byte, -1));
    EXPECT_EQ(0, getRandomBytes(&byte, std::numeric_limits<std::int32_t>::min()));
    EXPECT_EQ(0xEE, byte);
}

TEST_F(RandomBytes, ReadTheCalendarEvenWhenNothingIsAskedFor)
{
    getRandomBytes(nullptr, 0);
    EXPECT_EQ("T", reads_);
}

TEST_F(RandomBytes, WriteASingleZeroForACountOfOne)
{
    std::array<std::uint8_t, 2> bytes{0xEE, 0xEE};
    EXPECT_EQ(1, getRandomBytes(bytes.data(), 1));
    EXPECT_EQ(0, bytes[0]);
    EXPECT_EQ(0xEE, bytes[1]);
}

TEST_F(RandomBytes, AreZeroAtEvery32ndPlace)
{
    setClocks({0x0123456789ABCDEF}, {0x7654321});
    const Bytes bytes = draw(64);
    EXPECT_EQ(0, bytes[0]);
    EXPECT_EQ(0, bytes[32]);
    EXPECT_LT(std::count(bytes.begin(), bytes.end(), 0), 8);
}

TEST_F(RandomBytes, ReadTheCalendarOnEntryAndBeforeTheClockForEachByte)
{
    draw(3);
    EXPECT_EQ("TTCTCTC", reads_);
}

TEST_F(RandomBytes, FollowFromTheReadingsOfBothClocks)
{
    setClocks(
        {1'700'000'000, 1'700'000'001, 1'700'000'002, 1'700'000'003, 1'700'000'004,
         1'700'000'005, 1'700'000'006, 1'700'000'007, 1'700'000'008},
        {7, -3, 123456, 0, 2147483647, std::numeric_limits<std::int32_t>::min(), 1, 99});
    EXPECT_EQ((Bytes{0x00, 0x80, 0xF3, 0x24, 0x06, 0x8E, 0x01, 0x89}), draw(8));
}

TEST_F(RandomBytes, MixTheTimeOfEntryIntoTheFirstProduct)
{
    // State 1, then 1 * 1 ^ 3 = 2, then 2 ^ 3 = 1, then 1 ^ 3 = 2.
    setClocks({1, 3}, {1});
    EXPECT_EQ((Bytes{0x00, 0x01, 0x02}), draw(3));
}

TEST_F(RandomBytes, StartFromTheCalendarAloneWhereTheClockReadsZero)
{
    // Byte 1: 0x1234 ^ 0x1234 >> 1 = 0x1234 ^ 0x091A, whatever came before.
    setClocks({99, 77, 0x1234}, {5, 0});
    EXPECT_EQ((Bytes{0x00, 0x2E}), draw(2));
}

TEST_F(RandomBytes, ShiftByThePlaceModulo32)
{
    setClocks({0x0123456789ABCDEF}, {0});
    const Bytes bytes = draw(64);
    EXPECT_EQ(0x18, bytes[1]);  // EF ^ F7
    EXPECT_EQ(0x22, bytes[8]);  // EF ^ CD
    EXPECT_EQ(0x20, bytes[31]); // EF ^ CF
    EXPECT_EQ(0x18, bytes[33]);
    EXPECT_EQ(0x20, bytes[63]);
}

TEST_F(RandomBytes, ExtendANegativeClockBySign)
{
    // The state stays 5 until the last byte makes it -5: FB ^ bits 31 to 38, all 1.
    std::vector<std::int32_t> ticks(31, 1);
    ticks.push_back(-1);
    setClocks({5, 0}, ticks);
    EXPECT_EQ(0x04, draw(32)[31]);
}

TEST_F(RandomBytes, WrapTheProductModulo64Bits)
{
    setClocks({std::numeric_limits<std::int64_t>::max(), 0}, {0x7FFFFFFF});
    const Bytes bytes = draw(32);
    EXPECT_EQ((Bytes{0x19, 0x88, 0xC3, 0xE0}), Bytes(bytes.begin() + 28, bytes.end()));
}

TEST_F(RandomBytes, TakeACalendarBefore1970)
{
    // State -1 for byte 1 too: FF ^ FF.
    setClocks({-1}, {0});
    EXPECT_EQ((Bytes{0x00, 0x00}), draw(2));
}

TEST_F(RandomBytes, KeepNothingFromOneCallToTheNext)
{
    const std::vector<std::int64_t> times{7, 1, 2, 3, 4, 5};
    const std::vector<std::int32_t> ticks{1001, 1002, 1003, 1004, 1005};
    setClocks(times, ticks);
    const Bytes first = draw(5);
    setClocks(times, ticks);
    EXPECT_EQ(first, draw(5));
    EXPECT_NE(Bytes(5, 0), first);
}
