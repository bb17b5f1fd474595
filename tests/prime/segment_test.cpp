#include "prime/segment.h"

#include <gtest/gtest.h>
#include <set>

namespace
{

constexpr std::uint32_t length = 192;

Segment segmentFrom(std::uint32_t first)
{
    Segment segment;
    EXPECT_TRUE(allocateSegment(segment, length));
    beginSegment(segment, first);
    return segment;
}

TEST(Segment, IsEmptyWithoutMemory)
{
    const Segment segment;
    EXPECT_EQ(0U, segment.length);
    EXPECT_EQ(0U, endOf(segment));
}

TEST(Segment, BeginsWithNothingCrossedOff)
{
    Segment segment = segmentFrom(0);
    for (std::uint32_t index = 0; index < length; ++index)
        crossOff(segment, length, index);
    EXPECT_EQ(length, nextLeft(segment, 0));
    beginSegment(segment, 1000);
    for (std::uint32_t index = 1000; index < 1000 + length; ++index) {
        ASSERT_FALSE(isCrossedOff(segment, index));
        ASSERT_EQ(index, nextLeft(segment, index));
    }
    EXPECT_EQ(1000 + length, endOf(segment));
}

TEST(Segment, CrossesOffAProgressionToItsEnd)
{
    for (const std::uint32_t first : {0U, 64U, 777U})
        for (const std::uint32_t prime : {1U, 3U, 63U, 64U, 191U, 1009U})
            for (const std::uint32_t begin : {0U, 1U, 62U, 63U, 64U, 190U, 191U, 192U}) {
                Segment segment = segmentFrom(first);
                std::set<std::uint32_t> expected;
                std::uint32_t index = first + begin;
                for (; index < first + length; index += prime)
                    expected.insert(index);
                ASSERT_EQ(index, crossOff(segment, prime, first + begin));
                for (index = first; index < first + length; ++index)
                    ASSERT_EQ(expected.contains(index), isCrossedOff(segment, index))
                        << first << ", " << prime << ", " << begin << ", " << index;
            }
}

TEST(Segment, FindsTheNextNumberLeft)
{
    for (const std::uint32_t prime : {1U, 2U, 3U, 65U}) {
        Segment segment = segmentFrom(500);
        crossOff(segment, prime, 560);
        crossOff(segment, 1, 640);
        for (std::uint32_t from = 500; from <= endOf(segment); ++from) {
            std::uint32_t expected = from;
            while (expected < endOf(segment) && isCrossedOff(segment, expected))
                ++expected;
            ASSERT_EQ(expected, nextLeft(segment, from)) << prime << ", " << from;
        }
    }
}

TEST(Segment, KeepsWhatWasCrossedOffBefore)
{
    Segment segment = segmentFrom(0);
    crossOff(segment, 5, 0);
    crossOff(segment, 7, 0);
    for (std::uint32_t index = 0; index < length; ++index)
        ASSERT_EQ(index % 5 == 0 || index % 7 == 0, isCrossedOff(segment, index));
}

} // namespace
