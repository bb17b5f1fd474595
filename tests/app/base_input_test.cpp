#include "app/base_input.h"

#include "search/settings.h"
#include "tests/fakes/array_memory.h"
#include "tests/support/big.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

// As the program does it: counted first, then decoded.
Bytes decode(const wchar_t* text)
{
    Bytes bytes(static_cast<std::size_t>(decodeHex(nullptr, 0, text)));
    const auto count = static_cast<std::int32_t>(bytes.size());
    EXPECT_EQ(count, decodeHex(bytes.data(), count, text));
    return bytes;
}

TEST(DecodeHex, TakesDigitsOfBothCases)
{
    EXPECT_EQ((Bytes{0x0A, 0x1B, 0xCD, 0xEF, 0x98}), decode(L"0a1BCdeF98"));
}

TEST(DecodeHex, SkipsABlankBetweenPairs)
{
    EXPECT_EQ((Bytes{0x0A, 0x1B}), decode(L"0A 1B"));
}

TEST(DecodeHex, SkipsSeveralBlanksBetweenPairs)
{
    EXPECT_EQ((Bytes{0x0A, 0x1B}), decode(L"0a  1b"));
}

TEST(DecodeHex, SkipsBlanksAroundThePairs)
{
    EXPECT_EQ((Bytes{0x0A, 0x1B}), decode(L"  0a1b "));
}

TEST(DecodeHex, CountsLeadingZeroBytes)
{
    EXPECT_EQ((Bytes{0x00, 0x00, 0xFF}), decode(L"0000FF"));
}

TEST(DecodeHex, DropsAnOddLastDigit)
{
    EXPECT_EQ(Bytes{0xAB}, decode(L"abc"));
}

TEST(DecodeHex, EndsAtAPairThatIsNone)
{
    EXPECT_EQ(Bytes{0x12}, decode(L"12zz34"));
}

TEST(DecodeHex, EndsAtABadSecondDigit)
{
    EXPECT_EQ(Bytes{0x12}, decode(L"123z45"));
}

TEST(DecodeHex, EndsAtABlankInsideAPair)
{
    EXPECT_EQ(Bytes{0x12}, decode(L"123 456"));
}

TEST(DecodeHex, FindsNothingBehindAnIntroducerOfHex)
{
    EXPECT_EQ(Bytes{}, decode(L"0x12"));
}

TEST(DecodeHex, FindsNothingInAnEmptyText)
{
    EXPECT_EQ(Bytes{}, decode(L""));
}

TEST(DecodeHex, FindsNothingInBlanks)
{
    EXPECT_EQ(Bytes{}, decode(L"   "));
}

TEST(DecodeHex, SkipsNoOtherWhiteSpace)
{
    EXPECT_EQ(Bytes{0x0A}, decode(L"0a\t1b"));
    EXPECT_EQ(Bytes{0x0A}, decode(L"0a\n1b"));
}

TEST(DecodeHex, KnowsNoEscapes)
{
    EXPECT_EQ(Bytes{0x0A}, decode(L"0a\\n1b"));
}

TEST(DecodeHex, TakesTheDigitsOfNoOtherScript)
{
    // ARABIC-INDIC DIGIT ONE, FULLWIDTH DIGIT ONE, FULLWIDTH LATIN CAPITAL A.
    EXPECT_EQ(Bytes{0x12}, decode(L"12\x0661\x0661"));
    EXPECT_EQ(Bytes{0x12}, decode(L"12\xFF11\xFF11"));
    EXPECT_EQ(Bytes{0x12}, decode(L"12\xFF21\xFF21"));
}

TEST(DecodeHex, TakesNoNeighbourOfTheDigits)
{
    for (const wchar_t* text : {L"/0", L":0", L"@0", L"G0", L"`0", L"g0", L"0/", L"0g"})
        EXPECT_EQ(0, decodeHex(nullptr, 0, text)) << text;
}

TEST(DecodeHex, CountsBeyondTheCapacityAndStoresNoMore)
{
    Bytes bytes{0xEE, 0xEE, 0xEE};
    EXPECT_EQ(3, decodeHex(bytes.data(), 2, L"010203"));
    EXPECT_EQ((Bytes{0x01, 0x02, 0xEE}), bytes);
}

struct Close {
    void operator()(std::FILE* stream) const
    {
        std::fclose(stream);
    }
};
using Stream = std::unique_ptr<std::FILE, Close>;

Stream streamOf(const std::string& content)
{
    Stream stream(std::tmpfile());
    std::fwrite(content.data(), 1, content.size(), stream.get());
    std::rewind(stream.get());
    return stream;
}

// The base that `count` bytes from a stream make, as hex; "none" for none.
std::string read(int count, const std::string& content)
{
    const Stream stream = streamOf(content);
    const BigNumber base(readBaseFromStream(8 * count, stream.get()));
    return base ? toHex(base.get()) : "none";
}

TEST(ReadBaseFromStream, ReadsPairsWithABlankBehindEach)
{
    EXPECT_EQ("A1B", read(2, "0a 1b "));
}

TEST(ReadBaseFromStream, TakesDigitsOfBothCases)
{
    EXPECT_EQ("ABCDEF", read(3, "aB cD Ef "));
}

TEST(ReadBaseFromStream, FailsWhenTheStreamEndsBeforeTheLastItem)
{
    EXPECT_EQ("none", read(2, "0a1b"));
}

TEST(ReadBaseFromStream, FailsOneCharacterShort)
{
    EXPECT_EQ("none", read(2, "0a 1b"));
}

TEST(ReadBaseFromStream, FailsOnAnEmptyStream)
{
    EXPECT_EQ("none", read(1, ""));
}

TEST(ReadBaseFromStream, TakesAnyCharactersBehindTheLastPair)
{
    EXPECT_EQ("A1B", read(2, "0a1bzz"));
    EXPECT_EQ("A1B", read(2, "0a1b\t\\"));
}

TEST(ReadBaseFromStream, SkipsBlanksAndLineEnds)
{
    EXPECT_EQ("A1B2C3D", read(4, "\n0a\r\n1b 2c3d"));
}

TEST(ReadBaseFromStream, SkipsABackslashWithTheCharacterBehindIt)
{
    EXPECT_EQ("A1B2C3D", read(4, "0a\\n1b\\\\2c3d"));
}

TEST(ReadBaseFromStream, SkipsADigitBehindABackslash)
{
    EXPECT_EQ("A1B", read(2, "\\f0a1b"));
}

TEST(ReadBaseFromStream, EndsAtABackslashThatStandsLast)
{
    EXPECT_EQ("none", read(2, "0a   \\"));
}

TEST(ReadBaseFromStream, EndsAtATab)
{
    EXPECT_EQ("none", read(2, "0a\t1b "));
}

TEST(ReadBaseFromStream, EndsAtABadPair)
{
    EXPECT_EQ("none", read(2, "0azz1b"));
}

TEST(ReadBaseFromStream, EndsAtABlankInsideAPair)
{
    EXPECT_EQ("none", read(2, "0a1 b "));
}

TEST(ReadBaseFromStream, EndsAtAZeroCharacter)
{
    EXPECT_EQ("none", read(2, std::string("0a\0"
                                          "1b ",
                                          6)));
}

TEST(ReadBaseFromStream, TakesNoCharacterAboveAsciiForADigit)
{
    EXPECT_EQ("none", read(2, "0a\xB1\xB2 2"));
}

TEST(ReadBaseFromStream, CountsLeadingZeroBytes)
{
    EXPECT_EQ("FF", read(3, "00 00 FF "));
}

TEST(ReadBaseFromStream, TakesTheFirstPairsWhenThereAreMore)
{
    EXPECT_EQ("1122", read(2, "112233"));
}

TEST(ReadBaseFromStream, NeedsEachPairWithinThreeCharactersAByte)
{
    EXPECT_EQ("none", read(2, "0a    1b"));
}

TEST(ReadBaseFromStream, LeavesTheRestUnread)
{
    const Stream stream = streamOf("0a 1b Rest");
    const BigNumber base(readBaseFromStream(16, stream.get()));
    EXPECT_EQ('R', std::fgetc(stream.get()));
}

TEST(ReadBaseFromStream, AsksNothingOfAStreamThatIsNotStandardInput)
{
    noPrompt = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ("A", read(1, "0a "));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(ReadBaseFromStream, WipesAllButTheLastDecodedByte)
{
    // Of five bytes: fifteen characters, a zero, five decoded bytes.
    watchNextArray(21);
    EXPECT_EQ("102030405", read(5, "01 02 03 04 05 "));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_EQ(20U, arrayWatch.leadingZeros);
    EXPECT_FALSE(arrayWatch.wiped);
}

TEST(ReadBaseFromStream, WipesAllThatItReadOfAStreamThatEndsEarly)
{
    watchNextArray(21);
    EXPECT_EQ("none", read(5, "01 02 03 04 05"));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

} // namespace
