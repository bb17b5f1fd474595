// Wide text: number reading and comparison that no locale changes, and the way to it from
// UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The decimal number at the start of `text`: white space is skipped, one sign
// may follow, then digits; the first other character ends it. 0 when there is
// no digit; beyond 32 bits the nearest limit.
std::int32_t decimalValue(const wchar_t* text);

// Compares two strings, the letters A to Z and a to z taken as equal. Negative,
// 0 or positive as `a` sorts before, with or after `b`.
int compareIgnoringCase(const wchar_t* a, const wchar_t* b);

// The same for the first `count` characters at most.
int compareIgnoringCase(const wchar_t* a, const wchar_t* b, std::size_t count);

// The text of these bytes of UTF-8. A byte that is not UTF-8 becomes a character that
// stands for no text.
std::wstring wideText(std::string_view bytes);
