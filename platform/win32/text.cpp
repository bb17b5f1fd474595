#include "platform/text.h"

#include <cwchar>

// The runtime starts in the "C" locale and nothing here changes it: letters
// beyond ASCII are not folded.

std::int32_t decimalValue(const wchar_t* text)
{
    return _wtoi(text);
}

int compareIgnoringCase(const wchar_t* a, const wchar_t* b)
{
    return _wcsicmp(a, b);
}

int compareIgnoringCase(const wchar_t* a, const wchar_t* b, std::size_t count)
{
    return _wcsnicmp(a, b, count);
}
