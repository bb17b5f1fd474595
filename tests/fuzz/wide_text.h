// Wide text made of a fuzzer's bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// One character a byte, up to the first zero; the bytes from 0xF0 on stand for
// characters far above them, a lone surrogate among these.
inline std::wstring wideText(const std::uint8_t* data, std::size_t size)
{
    constexpr wchar_t far[] = {0x100,  0x130,  0x17F,  0x660,
                               0x212A, 0xD800, 0xFF10, 0xFFFF};
    std::wstring text;
    for (std::size_t i = 0; i < size && data[i] != 0; ++i)
        text.push_back(data[i] < 0xF0 ? static_cast<wchar_t>(data[i]) : far[data[i] % 8]);
    return text;
}
