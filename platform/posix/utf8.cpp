#include "platform/posix/utf8.h"

#include <cstddef>

namespace
{

constexpr char32_t escapeBase = 0xDC00;

struct Decoded {
    char32_t codePoint;
    std::size_t length; // 0: no well-formed sequence here
};

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The sequence at the start of `bytes`, which is not empty.
Decoded decodeSequence(std::string_view bytes)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length)
        return {0, 0};

    char32_t codePoint = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (!isContinuation(byte))
            return {0, 0};
        codePoint = (codePoint << 6) | (byte & 0x3FU);
    }
    constexpr char32_t lowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < lowest[length] || codePoint > 0x10FFFF || surrogate)
        return {0, 0};
    return {codePoint, length};
}

void appendSequence(std::string& bytes, char32_t codePoint)
{
    const auto append = [&bytes](char32_t byte) {
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
    };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | (codePoint >> 6));
        append(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        append(0xE0 | (codePoint >> 12));
        append(0x80 | ((codePoint >> 6) & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    } else {
        append(0xF0 | (codePoint >> 18));
        append(0x80 | ((codePoint >> 12) & 0x3F));
        append(0x80 | ((codePoint >> 6) & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    }
}

} // namespace

std::wstring decodeUtf8(std::string_view bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        Decoded next = decodeSequence(bytes);
        if (next.length == 0)
            next = {escapeBase + static_cast<unsigned char>(bytes[0]), 1};
        text.push_back(static_cast<wchar_t>(next.codePoint));
        bytes.remove_prefix(next.length);
    }
    return text;
}

std::string encodeUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t character : text) {
        const auto codePoint = static_cast<char32_t>(character);
        if (codePoint > escapeBase && codePoint <= escapeBase + 0xFF)
            bytes.push_back(static_cast<char>(codePoint - escapeBase));
        else
            appendSequence(bytes, codePoint);
    }
    return bytes;
}
