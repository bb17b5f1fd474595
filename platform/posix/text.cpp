#include "platform/text.h"

#include "platform/posix/utf8.h"

#include <limits>

namespace
{

bool isWhiteSpace(wchar_t c)
{
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

wchar_t foldCase(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

} // namespace

std::int32_t decimalValue(const wchar_t* text)
{
    while (isWhiteSpace(*text))
        ++text;
    const bool negative = *text == L'-';
    if (*text == L'-' || *text == L'+')
        ++text;

    using Limits = std::numeric_limits<std::int32_t>;
    // Counted downward, since the lowest value has no positive counterpart.
    std::int64_t value = 0;
    for (; *text >= L'0' && *text <= L'9'; ++text)
        if (value >= Limits::min())
            value = value * 10 - (*text - L'0');

    if (negative)
        return static_cast<std::int32_t>(value < Limits::min() ? Limits::min() : value);
    return static_cast<std::int32_t>(-value > Limits::max() ? Limits::max() : -value);
}

int compareIgnoringCase(const wchar_t* a, const wchar_t* b)
{
    return compareIgnoringCase(a, b, std::numeric_limits<std::size_t>::max());
}

int compareIgnoringCase(const wchar_t* a, const wchar_t* b, std::size_t count)
{
    for (; count > 0; --count, ++a, ++b) {
        const wchar_t left = foldCase(*a);
        const wchar_t right = foldCase(*b);
        if (left != right)
            return left < right ? -1 : 1;
        if (left == L'\0')
            return 0;
    }
    return 0;
}

std::wstring wideText(std::string_view bytes)
{
    return decodeUtf8(bytes);
}
