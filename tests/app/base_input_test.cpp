#include "app/base_input.h"

#include "search/settings.h"
#include "tests/fakes/array_memory.h"
#include "tests/support/big.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <string>

namespace
{

TEST(DecodeHex, CountsBeyondTheCapacityAndStoresNoMore)
{
    std::array<std::uint8_t, 3> bytes{0xEE, 0xEE, 0xEE};
    EXPECT_EQ(3, decodeHex(bytes.data(), 2, L"010203"));
    EXPECT_EQ((std::array<std::uint8_t, 3>{0x01, 0x02, 0xEE}), bytes);
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

struct Input {
    const char* name;
    int count;
    std::string content;
    const char* base;

    friend std::ostream& operator<<(std::ostream& out, const Input& input)
    {
        return out << input.name;
    }
};

class ReadBaseFromStream : public testing::TestWithParam<Input>
{
};

TEST_P(ReadBaseFromStream, Makes)
{
    EXPECT_EQ(GetParam().base, read(GetParam().count, GetParam().content));
}

const Input inputs[] = {
    {"PairsWithABlankAfterEach", 2, "0a 1b ", "A1B"},
    {"DigitsOfBothCases", 3, "aB cD Ef ", "ABCDEF"},
    {"LeadingZeroBytes", 3, "00 00 FF ", "FF"},
    {"AnyCharactersAfterTheLastPair", 2, "0a1bzz", "A1B"},
    {"ATabAndABackslashAfterTheLastPair", 2, "0a1b\t\\", "A1B"},
    {"MorePairsThanAreWanted", 2, "112233", "1122"},
    {"BlanksAndLineEnds", 4, "\n0a\r\n1b 2c3d", "A1B2C3D"},
    {"BackslashesWithTheCharacterAfterEach", 4, "0a\\n1b\\\\2c3d", "A1B2C3D"},
    {"ADigitAfterABackslash", 2, "\\f0a1b", "A1B"},
    {"ABackslashThatStandsLast", 2, "0a   \\", "none"},
    {"AnEndBeforeTheLastItem", 2, "0a1b", "none"},
    {"AnEndOneCharacterShort", 2, "0a 1b", "none"},
    {"AnEmptyStream", 1, "", "none"},
    {"ATab", 2, "0a\t1b ", "none"},
    {"ABadPair", 2, "0azz1b", "none"},
    {"ABlankInsideAPair", 2, "0a1 b ", "none"},
    {"AZeroCharacter", 2,
     std::string("0a\0"
                 "1b ",
                 6),
     "none"},
    {"CharactersAboveAscii", 2, "0a\xB1\xB2 2", "none"},
    {"APairAfterThreeCharactersAByte", 2, "0a    1b", "none"}};

INSTANTIATE_TEST_SUITE_P(Of, ReadBaseFromStream, testing::ValuesIn(inputs),
                         testing::PrintToStringParamName());

TEST(ReadBaseFromAnyStream, LeavesTheRestUnread)
{
    const Stream stream = streamOf("0a 1b Rest");
    const BigNumber base(readBaseFromStream(16, stream.get()));
    EXPECT_EQ('R', std::fgetc(stream.get()));
}

TEST(ReadBaseFromAnyStream, AsksNothingOfAStreamThatIsNotStandardInput)
{
    noPrompt = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ("A", read(1, "0a "));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(ReadBaseFromAnyStream, WipesAllButTheLastDecodedByte)
{
    // Of five bytes: fifteen characters, a zero, five decoded bytes.
    watchNextArray(21);
    EXPECT_EQ("102030405", read(5, "01 02 03 04 05 "));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_EQ(20U, arrayWatch.leadingZeros);
    EXPECT_FALSE(arrayWatch.wiped);
}

TEST(ReadBaseFromAnyStream, WipesAllThatItReadOfAStreamThatEndsEarly)
{
    watchNextArray(21);
    EXPECT_EQ("none", read(5, "01 02 03 04 05"));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

} // namespace
