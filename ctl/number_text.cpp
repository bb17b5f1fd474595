#include "ctl/number_text.h"

#include "prime/secret_array.h"

#include <algorithm>
#include <memory>
#include <new>
#include <openssl/crypto.h>

namespace
{

using Bytes = SecretArray<unsigned char>;

Bytes allocateBytes(std::size_t count)
{
    Bytes bytes;
    if (allocateSecret(bytes, count))
        noteWritten(bytes, count);
    return bytes;
}

bool isLineEnd(char character)
{
    return character == '\n' || character == '\r';
}

bool isDecimalDigit(char character)
{
    return character >= '0' && character <= '9';
}

// -1 when the character is not a digit.
int hexDigitValue(char character)
{
    if (isDecimalDigit(character))
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

// The character as a message may show it: a control character would disturb a terminal.
std::string shown(char character)
{
    if (character > ' ' && character <= '~')
        return std::string("'") + character + "'";
    if (character == ' ')
        return "a blank";
    if (character == '\t')
        return "a tab";
    constexpr char digits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(character);
    return std::string("the byte 0x") + digits[byte >> 4] + digits[byte & 15];
}

struct OpensslFree {
    void operator()(char* text) const
    {
        OPENSSL_clear_free(text, std::char_traits<char>::length(text));
    }
};
using LibraryText = std::unique_ptr<char, OpensslFree>;

} // namespace

TextError errorAt(std::string_view text, std::size_t offset, std::string what)
{
    TextError error{1, 1, std::move(what)};
    for (const char character : text.substr(0, offset)) {
        // The second and later bytes of a character of UTF-8 begin with the bits 10.
        if ((static_cast<unsigned char>(character) & 0xC0) != 0x80)
            ++error.column;
        if (character == '\n') {
            ++error.line;
            error.column = 1;
        }
    }
    return error;
}

std::variant<SecretNumber, TextError> parseHex(std::string_view text, int* digits)
{
    const Bytes bytes = allocateBytes(maxHexDigits / 2);
    if (!bytes)
        return SecretNumber();
    std::size_t count = 0;
    std::size_t lastDigit = 0;
    bool introduced = false;
    for (std::size_t position = 0; position < text.size(); ++position) {
        const char character = text[position];
        if (character == ' ' || character == ':' || isLineEnd(character))
            continue;
        if (count == 0 && !introduced && text.substr(position, 2) == "0x") {
            introduced = true;
            ++position;
            continue;
        }
        const int value = hexDigitValue(character);
        if (value == -1)
            return errorAt(text, position, shown(character) + " is not a hex digit");
        if (count == maxHexDigits)
            return errorAt(text, position,
                           "more than " + std::to_string(maxHexDigits) + " hex digits");
        unsigned char& byte = bytes[count / 2];
        byte = static_cast<unsigned char>(count % 2 ? byte * 16 + value : value);
        lastDigit = position;
        ++count;
    }
    if (count == 0)
        return errorAt(text, text.size(), "no hex digit");
    if (count % 2)
        return errorAt(text, lastDigit,
                       "an odd number of hex digits, " + std::to_string(count));
    SecretNumber number(BN_bin2bn(bytes.get(), static_cast<int>(count / 2), nullptr));
    if (digits)
        *digits = static_cast<int>(count);
    return number;
}

std::variant<SecretNumber, TextError> parseDecimal(std::string_view text)
{
    const Bytes digits = allocateBytes(maxDecimalDigits + 1);
    if (!digits)
        return SecretNumber();
    std::size_t count = 0;
    bool ended = false;
    for (std::size_t position = 0; position < text.size(); ++position) {
        const char character = text[position];
        if (isLineEnd(character))
            continue;
        if (character == ' ') {
            ended = count > 0;
            continue;
        }
        if (ended || !isDecimalDigit(character))
            return errorAt(text, position,
                           ended ? shown(character) + " after the number"
                                 : shown(character) + " is not a decimal digit");
        if (count == maxDecimalDigits)
            return errorAt(text, position,
                           "more than " + std::to_string(maxDecimalDigits) +
                               " decimal digits");
        digits[count] = static_cast<unsigned char>(character);
        ++count;
    }
    if (count == 0)
        return errorAt(text, text.size(), "no decimal digit");
    digits[count] = '\0';
    BIGNUM* number = nullptr;
    if (!BN_dec2bn(&number, reinterpret_cast<const char*>(digits.get()))) {
        BN_clear_free(number);
        number = nullptr;
    }
    return SecretNumber(number);
}

std::string hexText(const BIGNUM* number, int bytes)
{
    const auto count = static_cast<std::size_t>(bytes);
    const Bytes binary = allocateBytes(count);
    if (!binary || BN_bn2binpad(number, binary.get(), bytes) < 0)
        throw std::bad_alloc();
    constexpr char digits[] = "0123456789abcdef";
    std::string text(2 * count, '0');
    for (std::size_t i = 0; i < count; ++i) {
        text[2 * i] = digits[binary[i] >> 4];
        text[2 * i + 1] = digits[binary[i] & 15];
    }
    return text;
}

std::string decimalText(const BIGNUM* number)
{
    const LibraryText text(BN_bn2dec(number));
    if (!text)
        throw std::bad_alloc();
    return text.get();
}
