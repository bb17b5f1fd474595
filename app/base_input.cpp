#include "app/base_input.h"

#include "search/print.h"
#include "search/settings.h"

#include <cstring>
#include <cwchar>
#include <memory>
#include <openssl/crypto.h>

namespace
{

constexpr int noDigit = -1;

int digitValue(wchar_t character)
{
    if (character >= L'0' && character <= L'9')
        return character - L'0';
    if (character >= L'A' && character <= L'F')
        return character - L'A' + 10;
    if (character >= L'a' && character <= L'f')
        return character - L'a' + 10;
    return noDigit;
}

// The byte that two digits make, or noDigit when a character is not a digit.
int pairValue(wchar_t high, wchar_t low)
{
    const int highValue = digitValue(high);
    const int lowValue = digitValue(low);
    return highValue == noDigit || lowValue == noDigit ? noDigit
                                                       : highValue * 16 + lowValue;
}

wchar_t widen(char character)
{
    return static_cast<unsigned char>(character);
}

// Decodes the pairs of `text`, which ends with a zero, and stores the first
// `capacity` of them. Returns how many there are before the first bad pair.
std::size_t decodeStreamText(const char* text, std::uint8_t* out, std::size_t capacity)
{
    const std::size_t length = std::strlen(text);
    std::size_t count = 0;
    for (std::size_t position = 0; position < length;) {
        const char character = text[position];
        if (character == ' ' || character == '\n' || character == '\r') {
            ++position;
            continue;
        }
        // docs/fixed-behaviour.md: backslash
        if (character == '\\') {
            position += 2;
            continue;
        }
        const int value = pairValue(widen(character), widen(text[position + 1]));
        if (value == noDigit)
            break;
        if (count < capacity)
            out[count] = static_cast<std::uint8_t>(value);
        ++count;
        position += 2;
    }
    return count;
}

} // namespace

std::int32_t decodeHex(std::uint8_t* out, std::int32_t capacity, const wchar_t* text)
{
    const std::size_t length = std::wcslen(text);
    std::int32_t count = 0;
    for (std::size_t position = 0; position < length;) {
        if (text[position] == L' ') {
            ++position;
            continue;
        }
        const int value = pairValue(text[position], text[position + 1]);
        // docs/fixed-behaviour.md: bad-pair
        if (value == noDigit)
            return count;
        if (out && capacity > count)
            out[count] = static_cast<std::uint8_t>(value);
        ++count;
        position += 2;
    }
    return count;
}

BIGNUM* readBaseFromStream(std::int32_t bits, std::FILE* stream)
{
    // The text as read, a zero, then the decoded bytes.
    const auto size = static_cast<std::size_t>(bits / 8);
    const std::unique_ptr<char[]> buffer(new char[4 * size + 1]);
    char* text = buffer.get();
    auto* bytes = reinterpret_cast<std::uint8_t*>(text + 3 * size + 1);

    if (stream == stdin && !noPrompt)
        printOut("Please enter hex %d bytes:\n", (bits + 7) / 8);
    // docs/fixed-behaviour.md: whole-items
    if (std::fread(text, 3, size, stream) < size) {
        OPENSSL_cleanse(text, 4 * size + 1);
        return nullptr;
    }
    text[3 * size] = '\0';

    BIGNUM* base = nullptr;
    if (decodeStreamText(text, bytes, size) >= size)
        base = BN_bin2bn(bytes, static_cast<int>(size), nullptr);
    // One byte less than was used. docs/fixed-behaviour.md: last-byte
    OPENSSL_cleanse(text, 4 * size);
    return base;
}
