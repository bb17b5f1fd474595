#include "ctl/from_text.h"

#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

std::string base(std::string_view text, int bits, bool safe)
{
    return toHex(baseFromText(text, bits, safe).get());
}

// The expected values come from Python's hashlib.
TEST(BaseFromText, IsShake256OfLabelKindSizeAndTextWithTheTopBitSet)
{
    EXPECT_EQ("B79D2151D249652A", base("a text", 64, false));
}

TEST(BaseFromText, DependsOnTheKind)
{
    EXPECT_EQ("E11340E10FFEC840", base("a text", 64, true));
}

TEST(BaseFromText, DependsOnTheSizeFromTheFirstBitOn)
{
    EXPECT_EQ("A37B67D0213182EA600DFF5398AB5C9B", base("a text", 128, false));
}

TEST(BaseFromText, DependsOnTheText)
{
    EXPECT_EQ("E7A9CACA00E60E31", base("", 64, false));
    EXPECT_EQ("BE5646D5F6321C8F", base("Gr\xC3\xB6\xC3\x9F"
                                       "e",
                                       64, true));
    EXPECT_EQ("E4E1BC5DB0E56076", base(std::string_view("\0x", 2), 64, true));
}

TEST(BaseFromText, HasExactlyItsSize)
{
    for (int bits = 8; bits <= 65536; bits *= 2)
        EXPECT_EQ(bits, BN_num_bits(baseFromText("a text", bits, false).get()));
}

} // namespace
