// The base number: from hex text or from standard input.
//
// Two hex digits (0-9, A-F, a-f) make a byte, the high one first; the first byte
// is the most significant. Leading zero bytes count as bytes.
#pragma once

#include <cstdint>
#include <cstdio>
#include <openssl/bn.h>

// Decodes `text`: pairs of digits, with blanks between the pairs. Stops at the first two
// characters that are not both digits. Stores the first `capacity` bytes in `out`, which
// may be null. Returns how many bytes it decoded, stored or not.
std::int32_t decodeHex(std::uint8_t* out, std::int32_t capacity, const wchar_t* text);

// Reads a base of N bytes from `stream`. `bits` is 8 x N; N is 1 or more, and 8 x N
// fits 32 bits. Takes exactly 3N characters. Blanks, line ends and escaped characters (a
// backslash and the character after it) may stand between the pairs of digits. When the
// stream is standard input and noPrompt is not set, a prompt is printed first.
// Returns the number, the caller's to free, or null when the stream ended early or held
// fewer than N pairs. This function's buffer is wiped, after a whole read except its last
// decoded byte; the stream's own buffer is not. Throws std::bad_alloc.
BIGNUM* readBaseFromStream(std::int32_t bits, std::FILE* stream);
