#include "ctl/number_text.h"

#include "tests/fakes/array_memory.h"
#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace
{

// The number in hex with its digits counted, or the error with its place.
std::string described(const std::variant<SecretNumber, TextError>& parsed, int digits)
{
    if (const auto* error = std::get_if<TextError>(&parsed))
        return std::to_string(error->line) + ":" + std::to_string(error->column) + " " +
               error->what;
    const SecretNumber& number = std::get<SecretNumber>(parsed);
    return number ? toHex(number.get()) + "/" + std::to_string(digits) : "no memory";
}

std::string hex(std::string_view text)
{
    int digits = -1;
    const auto parsed = parseHex(text, &digits);
    return described(parsed, digits);
}

std::string decimal(std::string_view text)
{
    return described(parseDecimal(text), 0);
}

struct Text {
    const char* name;
    std::string text;
    const char* result;

    friend std::ostream& operator<<(std::ostream& out, const Text& shown)
    {
        return out << shown.name;
    }
};

class ParseHex : public testing::TestWithParam<Text>
{
};

TEST_P(ParseHex, Reads)
{
    EXPECT_EQ(GetParam().result, hex(GetParam().text));
}

const Text hexTexts[] = {
    {"DigitsOfBothCases", "0123456789abcdefABCDEF", "123456789ABCDEFABCDEF/22"},
    {"LeadingZerosAsDigits", "000a", "A/4"},
    {"Zero", "00", "0/2"},
    {"BlanksLineEndsAndColons", " 0A:1b\r\n2 c\n3d ", "A1B2C3D/8"},
    {"ADigitApartFromItsPair", "0 a", "A/2"},
    {"AnIntroducer", "0x0a1b", "A1B/4"},
    {"AnIntroducerAfterBlanks", "\n 0x0a", "A/2"},
    {"NothingAfterAnIntroducer", "0x", "1:3 no hex digit"},
    {"AnUpperCaseIntroducerNot", "0X0a", "1:2 'X' is not a hex digit"},
    {"ASecondIntroducerNot", "0x0x0a", "1:4 'x' is not a hex digit"},
    {"AnIntroducerAfterDigitsNot", "0a0x0b", "1:4 'x' is not a hex digit"},
    {"NoDigit", "", "1:1 no hex digit"},
    {"OnlyBlanks", " \n ", "2:2 no hex digit"},
    {"AnOddNumberNot", "0a1", "1:3 an odd number of hex digits, 3"},
    {"AnOddNumberOnSeveralLinesNot", "0a\n1\n", "2:1 an odd number of hex digits, 3"},
    {"AnotherLetterNot", "0a\r\n1g", "2:2 'g' is not a hex digit"},
    {"ATabNot", "0a\t1b", "1:3 a tab is not a hex digit"},
    {"AMinusSignNot", "-0a", "1:1 '-' is not a hex digit"},
    {"AControlCharacterNot", "0a\x1b", "1:3 the byte 0x1b is not a hex digit"},
    {"AZeroByteNot", std::string("0a\0", 3), "1:3 the byte 0x00 is not a hex digit"},
    {"AByteOfALongerCharacterNot", "0a\xC3\xBC", "1:3 the byte 0xc3 is not a hex digit"},
};

INSTANTIATE_TEST_SUITE_P(, ParseHex, testing::ValuesIn(hexTexts),
                         [](const auto& test) { return test.param.name; });

TEST(ParseHexText, ReadsTheMostDigitsAndNoMore)
{
    std::string most(16384, 'F');
    const std::string read = hex(most);
    EXPECT_EQ(most += "/16384", read);
    EXPECT_EQ("1:16385 more than 16384 hex digits", hex(std::string(16385, 'f')));
}

TEST(ParseHexText, NeedNotCountTheDigits)
{
    const auto parsed = parseHex("0a1b", nullptr);
    EXPECT_EQ("A1B", toHex(std::get<SecretNumber>(parsed).get()));
}

TEST(ParseHexText, GivesNoNumberWithoutMemory)
{
    arrayAllocationFails = true;
    EXPECT_EQ("no memory", hex("0a"));
    EXPECT_EQ("no memory", decimal("10"));
    arrayAllocationFails = false;
}

TEST(ParseHexText, WipesItsCopyOfTheText)
{
    watchNextArray(maxHexDigits / 2);
    hex(std::string(16384, 'f'));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

TEST(ParseDecimalText, WipesItsCopyOfTheText)
{
    watchNextArray(maxDecimalDigits + 1);
    decimal(std::string(19729, '1'));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

class ParseDecimal : public testing::TestWithParam<Text>
{
};

TEST_P(ParseDecimal, Reads)
{
    EXPECT_EQ(GetParam().result, decimal(GetParam().text));
}

const Text decimalTexts[] = {
    {"EveryDigit", "1234567890", "499602D2/0"},
    {"LeadingZeros", "0010", "A/0"},
    {"OuterBlanksAndLineEnds", " \n12\n34 \r\n", "4D2/0"},
    {"NoDigit", " ", "1:2 no decimal digit"},
    {"AHexDigitNot", "12a", "1:3 'a' is not a decimal digit"},
    {"AMinusSignNot", "-12", "1:1 '-' is not a decimal digit"},
    {"ASecondNumberNot", "12 34", "1:4 '3' after the number"},
};

INSTANTIATE_TEST_SUITE_P(, ParseDecimal, testing::ValuesIn(decimalTexts),
                         [](const auto& test) { return test.param.name; });

TEST(ParseDecimalText, ReadsTheMostDigitsAndNoMore)
{
    // 2^65536 has 19729 digits.
    EXPECT_EQ(19729u, decimalText(fromHex("1" + std::string(16384, '0')).get()).size());
    std::string most(19729, '0');
    most.back() = '1';
    EXPECT_EQ("1/0", decimal(most));
    EXPECT_EQ("1:19730 more than 19729 decimal digits", decimal(std::string(19730, '1')));
}

TEST(ErrorAt, CountsLinesAndTheCharactersOfUtf8)
{
    const TextError error = errorAt("a\nGr\xC3\xB6\xC3\x9F"
                                    "e",
                                    8, "what");
    EXPECT_EQ(2u, error.line);
    EXPECT_EQ(5u, error.column);
    EXPECT_EQ("what", error.what);
}

TEST(HexText, WritesEveryByteInLowerCase)
{
    EXPECT_EQ("0000abcdef", hexText(fromHex("ABCDEF").get(), 5));
}

TEST(DecimalText, WritesTheDigits)
{
    EXPECT_EQ("18446744073709551616",
              decimalText(fromHex("1'0000'0000'0000'0000").get()));
    EXPECT_EQ("0", decimalText(fromHex("0").get()));
}

} // namespace
