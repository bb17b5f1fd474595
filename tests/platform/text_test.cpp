#include "platform/text.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

struct Number {
    const wchar_t* text;
    std::int32_t value;
};

void expectValues(std::initializer_list<Number> numbers)
{
    for (const Number& number : numbers)
        EXPECT_EQ(number.value, decimalValue(number.text)) << number.text;
}

TEST(DecimalValue, ReadsDigits)
{
    expectValues({{L"0", 0}, {L"7", 7}, {L"64", 64}, {L"0010", 10}, {L"123456", 123456}});
}

TEST(DecimalValue, TakesOneSign)
{
    expectValues({{L"+8", 8}, {L"-8", -8}, {L"-0", 0}});
}

TEST(DecimalValue, TakesNoSecondSignAndNoBlankAfterTheFirst)
{
    expectValues({{L"--8", 0}, {L"+-8", 0}, {L"- 8", 0}});
}

TEST(DecimalValue, SkipsWhiteSpaceInFront)
{
    expectValues({{L" \t\n\v\f\r 12", 12}, {L"  -3", -3}});
}

TEST(DecimalValue, EndsAtTheFirstOtherCharacter)
{
    expectValues({{L"12abc", 12}, {L"1 2", 1}, {L"3.9", 3}, {L"0x10", 0}, {L"5-", 5}});
}

TEST(DecimalValue, IsZeroWithoutADigit)
{
    expectValues({{L"", 0}, {L"   ", 0}, {L"abc", 0}, {L"-", 0}, {L"+x", 0}});
}

TEST(DecimalValue, ReadsTheLimitsThemselves)
{
    expectValues({{L"2147483647", 2147483647}, {L"-2147483648", -2147483647 - 1}});
}

TEST(DecimalValue, StopsAtTheNearestLimit)
{
    expectValues({{L"2147483648", 2147483647},
                  {L"-2147483649", -2147483647 - 1},
                  {L"4294967296", 2147483647},
                  {L"99999999999999999999999999999999", 2147483647},
                  {L"-99999999999999999999999999999999", -2147483647 - 1},
                  {L"18446744073709551617", 2147483647}});
}

TEST(CompareIgnoringCase, TakesTheLettersOfBothCasesAsEqual)
{
    EXPECT_EQ(0, compareIgnoringCase(L"-Threads", L"-tHREADS"));
    EXPECT_EQ(0, compareIgnoringCase(L"ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                                     L"abcdefghijklmnopqrstuvwxyz"));
    EXPECT_EQ(0, compareIgnoringCase(L"", L""));
}

TEST(CompareIgnoringCase, TakesNothingElseAsEqual)
{
    // The neighbours of the letters, which lie as far apart as the cases do.
    EXPECT_NE(0, compareIgnoringCase(L"@", L"`"));
    EXPECT_NE(0, compareIgnoringCase(L"[", L"{"));
    EXPECT_NE(0, compareIgnoringCase(L"\u00C4", L"\u00E4"));
    EXPECT_NE(0, compareIgnoringCase(L"i", L"\u0130"));
}

TEST(CompareIgnoringCase, SortsByTheLowerCase)
{
    EXPECT_GT(0, compareIgnoringCase(L"abc", L"ABD"));
    EXPECT_LT(0, compareIgnoringCase(L"ABD", L"abc"));
    EXPECT_GT(0, compareIgnoringCase(L"_", L"A"));
}

TEST(CompareIgnoringCase, SortsAPrefixBeforeTheWhole)
{
    EXPECT_GT(0, compareIgnoringCase(L"-safe", L"-safety"));
    EXPECT_LT(0, compareIgnoringCase(L"-safety", L"-safe"));
    EXPECT_GT(0, compareIgnoringCase(L"", L"a"));
}

TEST(CompareIgnoringCaseUpTo, LooksNoFurtherThanTheCount)
{
    EXPECT_EQ(0, compareIgnoringCase(L"-SAFEx", L"-safey", 5));
    EXPECT_NE(0, compareIgnoringCase(L"-SAFEx", L"-safey", 6));
    EXPECT_EQ(0, compareIgnoringCase(L"a", L"b", 0));
}

TEST(CompareIgnoringCaseUpTo, EndsWithTheStrings)
{
    EXPECT_EQ(0, compareIgnoringCase(L"ab", L"AB", 99));
    EXPECT_GT(0, compareIgnoringCase(L"ab", L"abc", 99));
}

TEST(WideText, IsThatOfTheUtf8)
{
    EXPECT_EQ(L"", wideText(""));
    EXPECT_EQ(L"stop", wideText("stop"));
    EXPECT_EQ(L"\u00e4\u20ac", wideText("\xc3\xa4\xe2\x82\xac"));
}

TEST(WideText, HasACharacterThatIsNoTextForAByteThatIsNotUtf8)
{
    const std::wstring text = wideText("a\xff"
                                       "b");
    ASSERT_EQ(3U, text.size());
    EXPECT_EQ(L'a', text[0]);
    EXPECT_TRUE(text[1] == 0xFFFD || text[1] == 0xDCFF) << std::hex << +text[1];
    EXPECT_EQ(L'b', text[2]);
}

} // namespace
