// UTF-8 to wide text and back without losing a byte.
#pragma once

#include <string>
#include <string_view>

// Decodes UTF-8. A byte that is not part of a well-formed sequence (surrogates
// and overlong forms are not) becomes U+DC00 plus the byte, a code point that
// no well-formed sequence gives: encodeUtf8 turns it back into that very byte.
std::wstring decodeUtf8(std::string_view bytes);

// Undoes decodeUtf8: encodeUtf8(decodeUtf8(b)) is b for all b without exception.
std::string encodeUtf8(std::wstring_view text);
