// The base number: from hex text or from standard input.
//
// Two hex digits (0-9, A-F, a-f) make a byte, the high one first; the first byte
// is the most significant. Leading zero bytes count as bytes.
#pragma once

#include <cstdint>
#include <cstdio>
#include <openssl/bn.h>

// Decodes `text`, pairs of digits with blanks between them, up to the first pair
// that is none. Stores the first `capacity` bytes in `out`, which may be null.
// Returns how many bytes the text holds, stored or not.
std::int32_t decodeHex(std::uint8_t* out, std::int32_t capacity, const wchar_t* text);

// Reads a base of `bits` bits, 8 for each of its N bytes (N is 1 or more and
// 8 x N fits 32 bits), from `stream`: exactly 3N characters, in which blanks, line
// ends and escaped characters (a backslash and the next) may stand between
// pairs. Asks for them first when the stream is standard input and noPrompt is
// not set.
// Returns the number, the caller's to free, or null when the stream ended early
// or held fewer than N pairs. All that was read is wiped, but for the last decoded
// byte. Throws std::bad_alloc.
BIGNUM* readBaseFromStream(std::int32_t bits, std::FILE* stream);
