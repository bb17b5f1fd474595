#include "platform/text.h"

#include <cwchar>
#include <windows.h>

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

std::wstring wideText(std::string_view bytes)
{
    // A byte that is not UTF-8 becomes U+FFFD.
    const int count = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), count, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), count, text.data(), length);
    return text;
}
