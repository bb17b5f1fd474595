#include "app/result_output.h"

#include "search/print.h"
#include "search/search_state.h"
#include "search/settings.h"

#include <cstddef>

std::int32_t writeResult(std::FILE* stream)
{
    constexpr char digits[] = "0123456789ABCDEF";
    const BIGNUM* result = resultPrime;
    const auto size = result ? static_cast<std::size_t>(BN_num_bytes(result)) : 0;
    if (size == 0)
        return 0;

    // The binary form, then the text and its zero. docs/fixed-behaviour.md: result-buffer
    static unsigned char* buffer = nullptr;
    buffer = new unsigned char[4 * size + 1];
    unsigned char* text = buffer + size;
    const std::size_t capacity = 3 * size + 1;
    BN_bn2bin(result, buffer);

    std::size_t length = 0;
    for (std::size_t i = 0; i < size && length + 3 < capacity; ++i) {
        text[length++] = static_cast<unsigned char>(digits[buffer[i] >> 4]);
        text[length++] = static_cast<unsigned char>(digits[buffer[i] & 0x0F]);
        text[length++] = ' ';
    }
    text[length] = '\0';

    // docs/fixed-behaviour.md: result-text
    if (!noPrompt)
        printTo(stream, "Result:");
    return static_cast<std::int32_t>(std::fwrite(text, 1, length, stream));
}
