// Numbers as text: hex and decimal, in and out.
#pragma once

#include "prime/big_number.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

// What is wrong with a text, and where.
struct TextError {
    std::size_t line = 1;   // from 1
    std::size_t column = 1; // from 1, in characters of UTF-8
    std::string what;       // for people, one line, without the place
};

// The most digits that a number may have as text: those of 65536 bits.
inline constexpr std::size_t maxHexDigits = 16384;
inline constexpr std::size_t maxDecimalDigits = 19729;

// Where the character at `offset` of `text` stands.
TextError errorAt(std::string_view text, std::size_t offset, std::string what);

// The number that hex text gives. Blanks, line ends (line feed, carriage return) and
// colons may stand anywhere, and "0x" before the first digit. An odd number of digits, no
// digit, more than maxHexDigits and any other character are errors.
//
// digits  may be null; out: how many digits there are, leading zeros included. Not
//         written with an error
// The number is null when memory is short. What this function copied of the text is
// wiped.
std::variant<SecretNumber, TextError> parseHex(std::string_view text, int* digits);

// The same for decimal text: blanks and line ends may stand before and after the digits,
// line ends also between them.
std::variant<SecretNumber, TextError> parseDecimal(std::string_view text);

// The number's lower-case hex digits, two for each of `bytes` bytes, the most significant
// first. `number` is not negative and fits. Throws std::bad_alloc.
std::string hexText(const BIGNUM* number, int bytes);

// The number's decimal digits. Throws std::bad_alloc.
std::string decimalText(const BIGNUM* number);
