#include "search/trace_number.h"

#include <cstddef>
#include <memory>
#include <new>
#include <openssl/crypto.h>

void traceNumberHex(const BIGNUM* number)
{
    constexpr wchar_t digits[] = L"0123456789ABCDEF";
    const auto count = static_cast<std::size_t>(BN_num_bytes(number));
    const std::size_t capacity = count * 4 + 1;
    const std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[count]);
    const std::unique_ptr<wchar_t[]> text(new (std::nothrow) wchar_t[capacity]);
    if (!bytes || !text)
        return;

    BN_bn2bin(number, bytes.get());
    std::size_t length = 0;
    for (std::size_t i = 0; i < count && length + 3 < capacity; ++i) {
        text[length++] = digits[bytes[i] >> 4];
        text[length++] = digits[bytes[i] & 0x0F];
        text[length++] = L' ';
    }
    text[length] = L'\0';

    // docs/fixed-behaviour.md: discarded-trace
    OPENSSL_cleanse(bytes.get(), count);
    OPENSSL_cleanse(text.get(), capacity * sizeof(wchar_t));
}
