#include "ctl/json_form.h"

#include <gtest/gtest.h>
#include <string>
#include <variant>

namespace
{

JsonForm example()
{
    JsonForm form;
    form.safe = true;
    form.bits = 64;
    form.prime = "e11340e10ffee7c7";
    form.base = "e11340e10ffec840";
    form.from = "a \"text\"\n\\ Gr\xC3\xB6\xC3\x9F"
                "e";
    form.threads = 1;
    form.seconds = 1.23449;
    form.norvVersion = "1.0";
    form.norvctlVersion = "1.0";
    form.libcryptoVersion = "3.0.19";
    return form;
}

// The digest is Python's: hashlib.sha256 over json.dumps with separators (',', ':') and
// ensure_ascii=False.
const std::string exampleText = R"({
  "kind": "safe prime",
  "bits": 64,
  "prime": "e11340e10ffee7c7",
  "base": "e11340e10ffec840",
  "from": "a \"text\"\n\\ Größe",
  "threads": 1,
  "seconds": 1.234,
  "versions": {
    "norv": "1.0",
    "norvctl": "1.0",
    "libcrypto": "3.0.19"
  },
  "digest": "bf209111b0fe7c4a250d871e897233e6c450a1d816663de9ab5b8b0ade88f7d3"
}
)";

std::string written(const JsonForm& form)
{
    return writeJson(form).value_or("none");
}

// The error, or "read".
std::string outcome(std::string_view text)
{
    const auto read = readJson(text);
    if (const auto* error = std::get_if<TextError>(&read))
        return std::to_string(error->line) + ":" + std::to_string(error->column) + " " +
               error->what;
    return "read";
}

bool isWhiteSpace(char character)
{
    return character == ' ' || character == '\t' || character == '\n' ||
           character == '\r';
}

TEST(WriteJson, WritesTheMembersInTheirOrder)
{
    EXPECT_EQ(exampleText, written(example()));
}

TEST(WriteJson, LeavesOutATextThatThereIsNot)
{
    JsonForm form = example();
    form.from.clear();
    EXPECT_EQ(std::string::npos, written(form).find("\"from\""));
    EXPECT_EQ("read", outcome(written(form)));
}

std::string secondsIn(double seconds)
{
    JsonForm form = example();
    form.seconds = seconds;
    const std::string text = written(form);
    EXPECT_EQ("read", outcome(text));
    const std::string name = "\"seconds\": ";
    const std::size_t start = text.find(name) + name.size();
    return text.substr(start, text.find(',', start) - start);
}

TEST(WriteJson, WritesSecondsToTheMillisecond)
{
    EXPECT_EQ("0", secondsIn(0));
    EXPECT_EQ("0", secondsIn(0.0004));
    EXPECT_EQ("0.001", secondsIn(0.0006));
    EXPECT_EQ("12", secondsIn(12.0001));
    EXPECT_EQ("1234567.891", secondsIn(1234567.8912));
    EXPECT_EQ("0", secondsIn(-1));
}

TEST(ReadJson, GivesBackWhatWasWritten)
{
    const auto read = readJson(exampleText);
    ASSERT_TRUE(std::holds_alternative<JsonForm>(read)) << outcome(exampleText);
    const auto& form = std::get<JsonForm>(read);
    EXPECT_TRUE(form.safe);
    EXPECT_EQ(64, form.bits);
    EXPECT_EQ("e11340e10ffee7c7", form.prime);
    EXPECT_EQ("e11340e10ffec840", form.base);
    EXPECT_EQ(example().from, form.from);
    EXPECT_EQ(1, form.threads);
    EXPECT_EQ(1.234, form.seconds);
    EXPECT_EQ("1.0", form.norvVersion);
    EXPECT_EQ("1.0", form.norvctlVersion);
    EXPECT_EQ("3.0.19", form.libcryptoVersion);
}

TEST(ReadJson, AllowsOtherWhiteSpaceBetweenTokens)
{
    std::string compact;
    bool inString = false;
    for (std::size_t i = 0; i < exampleText.size(); ++i) {
        if (exampleText[i] == '"' && exampleText[i - 1] != '\\')
            inString = !inString;
        if (inString || !isWhiteSpace(exampleText[i]))
            compact += exampleText[i];
    }
    EXPECT_EQ("read", outcome(compact));
    EXPECT_EQ("read", outcome("\r\n\t" + compact + " "));
}

// Whether the byte of `text` at `position` is white space between tokens.
bool isBetweenTokens(std::string_view text, std::size_t position)
{
    bool inString = false;
    for (std::size_t i = 0; i < position; ++i) {
        if (inString && text[i] == '\\')
            ++i;
        else if (text[i] == '"')
            inString = !inString;
    }
    return !inString && isWhiteSpace(text[position]);
}

TEST(ReadJson, FindsEveryOtherByteAtEveryPlace)
{
    int tried = 0;
    for (std::size_t position = 0; position < exampleText.size(); ++position) {
        const bool between = isBetweenTokens(exampleText, position);
        for (int value = 0; value < 256; ++value) {
            const char byte = static_cast<char>(value);
            if (byte == exampleText[position] || (between && isWhiteSpace(byte)))
                continue;
            std::string changed = exampleText;
            changed[position] = byte;
            ASSERT_NE("read", outcome(changed)) << changed;
            ++tried;
        }
    }
    EXPECT_GT(tried, 250 * static_cast<int>(exampleText.size()));
}

TEST(ReadJson, FindsEveryMissingAndEveryDoubledByte)
{
    for (std::size_t position = 0; position < exampleText.size(); ++position) {
        if (isBetweenTokens(exampleText, position))
            continue;
        std::string shorter = exampleText;
        shorter.erase(position, 1);
        EXPECT_NE("read", outcome(shorter)) << shorter;
        std::string longer = exampleText;
        longer.insert(position, 1, longer[position]);
        EXPECT_NE("read", outcome(longer)) << longer;
    }
}

TEST(ReadJson, FindsAnEarlyEnd)
{
    for (std::size_t length = 0; length + 1 < exampleText.size(); ++length)
        EXPECT_NE("read", outcome(exampleText.substr(0, length)));
}

std::string replaced(const std::string& from, const std::string& to)
{
    std::string text = exampleText;
    text.replace(text.find(from), from.size(), to);
    return text;
}

// The digest is Python's again.
TEST(ReadJson, AllowsMembersOfALaterVersion)
{
    std::string text = exampleText;
    const std::string digest = "\"digest\": \"";
    const std::size_t place = text.find(digest);
    text.replace(place + digest.size(), 64,
                 "1420343191c82589c0ffa6ccfba36246f7a14d01989e597615c8b70fda4340d6");
    text.insert(place, R"("later": {"a": [1, 2.5, "x"]}, )");
    EXPECT_EQ("read", outcome(text));
    text[text.find("2.5")] = '3';
    EXPECT_EQ("1:1 the digest does not fit: something was changed", outcome(text));
}

TEST(ReadJson, TellsThePlace)
{
    EXPECT_EQ("3:3 not valid JSON", outcome(replaced("\"bits\"", "bits")));
    EXPECT_EQ("1:1 the digest does not fit: something was changed",
              outcome(replaced("s\": 1,", "s\": 1,\"x\":1,")));
    EXPECT_EQ("1:1 the digest does not fit: something was changed",
              outcome(replaced("1.234", "1.235")));
    EXPECT_EQ("8:15 not as norvctl writes it", outcome(replaced("1.234", "1234e-3")));
    EXPECT_EQ("6:12 not as norvctl writes it",
              outcome(replaced("a \\\"text", "\\u0061 \\\"text")));
}

TEST(ReadJson, FindsASecondMemberOfAName)
{
    EXPECT_NE("read", outcome(replaced("\"bits\": 64", "\"bits\": 64,\"bits\": 64")));
    EXPECT_NE("read", outcome(replaced("\"bits\": 64", "\"bits\": 128,\"bits\": 64")));
}

TEST(ReadJson, NamesTheMemberThatIsMissingOrOfAnotherKind)
{
    EXPECT_EQ("1:1 not an object", outcome("[]"));
    EXPECT_EQ("1:1 \"kind\" must be \"prime\" or \"safe prime\"", outcome("{}"));
    EXPECT_EQ("1:1 \"kind\" must be \"prime\" or \"safe prime\"",
              outcome(replaced("safe prime", "sage prime")));
    for (const char* bits : {"0", "-64", "63", "65544", "64.0", "\"64\"", "1e9"})
        EXPECT_EQ("1:1 \"bits\" must be a multiple of 8, up to 65536",
                  outcome(replaced("64", bits)));
    for (const char* prime : {"e11340e10ffee7c", "E11340e10ffee7c7", "e11340e10ffee7c70"})
        EXPECT_EQ("1:1 \"prime\" must have bits / 4 lower-case hex digits",
                  outcome(replaced("e11340e10ffee7c7", prime)));
    EXPECT_EQ("1:1 \"base\" must have bits / 4 lower-case hex digits",
              outcome(replaced("\"base\"", "\"b\"")));
    EXPECT_EQ("1:1 \"from\" must be a text",
              outcome(replaced("\"a \\\"text\\\"\\n\\\\ Größe\"", "\"\"")));
    EXPECT_EQ("1:1 \"threads\" must be a number", outcome(replaced("1,", "-1,")));
    EXPECT_EQ("1:1 \"seconds\" must be a number", outcome(replaced("1.234", "null")));
    EXPECT_EQ("1:1 \"versions\" must name norv, norvctl and libcrypto",
              outcome(replaced("\"norvctl\": \"1.0\"", "\"norvctl\": 1.0")));
}

TEST(ReadJson, RefusesANumberBeyondAllBounds)
{
    EXPECT_EQ("1:1 a number beyond all bounds", outcome(replaced("1.234", "1e999")));
    EXPECT_NE("read", outcome(replaced("1.234", "1e308")));
}

TEST(ReadJson, SurvivesDeepNesting)
{
    EXPECT_NE("read", outcome(std::string(500'000, '[')));
    EXPECT_NE("read", outcome("{\"kind\":" + std::string(100'000, '[') +
                              std::string(100'000, ']') + "}"));
}

TEST(FitsJson, TakesUtf8Alone)
{
    EXPECT_TRUE(fitsJson(""));
    EXPECT_TRUE(fitsJson("a text"));
    EXPECT_TRUE(fitsJson("Gr\xC3\xB6\xC3\x9F"
                         "e"));
    EXPECT_FALSE(fitsJson("Gr\xF6\xDF"
                          "e"));
    EXPECT_FALSE(fitsJson("\xC3"));
    EXPECT_FALSE(fitsJson("\xED\xA0\x80")); // a surrogate
}

} // namespace
