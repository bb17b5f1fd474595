#include "platform/posix/utf8.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

struct Pair {
    std::string bytes;
    std::wstring text;
};

// The first and the last of each length, and the neighbours of the surrogates.
const Pair wellFormed[] = {
    {"", L""},
    {"plain", L"plain"},
    {"\x01\x7F", L"\x01\x7F"},
    {std::string(1, '\0'), std::wstring(1, L'\0')},
    {"\xC2\x80", L"\x80"},
    {"\xDF\xBF", L"\x7FF"},
    {"\xE0\xA0\x80", L"\x800"},
    {"\xED\x9F\xBF", L"\xD7FF"},
    {"\xEE\x80\x80", L"\xE000"},
    {"\xEF\xBF\xBF", L"\xFFFF"},
    {"\xF0\x90\x80\x80", L"\x10000"},
    {"\xF4\x8F\xBF\xBF", L"\x10FFFF"},
    {"a\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9Ez", L"a\u00E4\u20AC\U0001D11Ez"}};

TEST(WellFormedUtf8, IsDecodedToItsCodePoints)
{
    for (const Pair& pair : wellFormed)
        EXPECT_EQ(pair.text, decodeUtf8(pair.bytes));
}

TEST(WellFormedUtf8, IsEncodedFromItsCodePoints)
{
    for (const Pair& pair : wellFormed)
        EXPECT_EQ(pair.bytes, encodeUtf8(pair.text));
}

const Pair illFormed[] = {
    // A continuation, a lead without one, and leads that never are.
    {"\x80", L"\xDC80"},
    {"\xBF", L"\xDCBF"},
    {"\xC3", L"\xDCC3"},
    {"\xC3(", L"\xDCC3("},
    {"\xFE\xFF", L"\xDCFE\xDCFF"},
    {"\xF5\x80\x80\x80", L"\xDCF5\xDC80\xDC80\xDC80"},
    // Cut off inside.
    {"\xE2\x82", L"\xDCE2\xDC82"},
    {"\xF0\x9D\x84", L"\xDCF0\xDC9D\xDC84"},
    {"\xE2\x82z", L"\xDCE2\xDC82z"},
    // Longer than need be.
    {"\xC0\x80", L"\xDCC0\xDC80"},
    {"\xC1\xBF", L"\xDCC1\xDCBF"},
    {"\xE0\x9F\xBF", L"\xDCE0\xDC9F\xDCBF"},
    {"\xF0\x8F\xBF\xBF", L"\xDCF0\xDC8F\xDCBF\xDCBF"},
    // Surrogates, the escapes' own code points among them.
    {"\xED\xA0\x80", L"\xDCED\xDCA0\xDC80"},
    {"\xED\xB2\x80", L"\xDCED\xDCB2\xDC80"},
    {"\xED\xBF\xBF", L"\xDCED\xDCBF\xDCBF"},
    // Above the last code point.
    {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"},
    // In the middle of text.
    {"a\xFF\xC3\xA4", L"a\xDCFF\u00E4"}};

TEST(IllFormedUtf8, IsDecodedByteByByte)
{
    for (const Pair& pair : illFormed)
        EXPECT_EQ(pair.text, decodeUtf8(pair.bytes));
}

TEST(IllFormedUtf8, IsEncodedToTheSameBytesAgain)
{
    for (const Pair& pair : illFormed)
        EXPECT_EQ(pair.bytes, encodeUtf8(pair.text));
}

TEST(Utf8, BringsEveryPairOfBytesBack)
{
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(bytes, encodeUtf8(decodeUtf8(bytes))) << first << " " << second;
        }
}

TEST(Utf8, BringsEveryMixOfLeadsAndContinuationsBack)
{
    // The bytes at which the rules for what may follow change.
    const std::string alphabet = "(\x80\x8F\x90\x9F\xA0\xB2\xBF\xC1\xC2\xDC\xE0\xED\xEF"
                                 "\xF0\xF4\xF5\xFF";
    for (const char first : alphabet)
        for (const char second : alphabet)
            for (const char third : alphabet)
                for (const char fourth : alphabet) {
                    const std::string bytes{first, second, third, fourth};
                    ASSERT_EQ(bytes, encodeUtf8(decodeUtf8(bytes)));
                }
}

} // namespace
