#include "prime/random_below.h"

#include "prime/random_bytes.h"

#include <cstdint>
#include <memory>
#include <new>
#include <openssl/crypto.h>

namespace
{

constexpr int drawLimit = 100;

// Sets `result` to a random number of at most `bits` bits (2 or more), none of
// them forced. Returns 1 or 0; the bytes are wiped either way.
int drawBits(BIGNUM* result, int bits)
{
    const std::int32_t count = (bits + 7) / 8;
    const auto size = static_cast<std::size_t>(count);
    const std::unique_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[size]);
    if (!bytes)
        return 0;

    int drawn = 0;
    if (getRandomBytes(bytes.get(), count) > 0) {
        const int usedBits = (bits - 1) % 8 + 1;
        bytes[0] = static_cast<std::uint8_t>(bytes[0] & ~(0xFFU << usedBits));
        drawn = BN_bin2bn(bytes.get(), count, result) != nullptr;
    }
    OPENSSL_cleanse(bytes.get(), size);
    return drawn;
}

// For bounds that start with 11 or 101: at least five of eight draws lie below.
int drawUntilBelow(BIGNUM* result, const BIGNUM* bound, int bits)
{
    for (int left = drawLimit;;) {
        if (!drawBits(result, bits))
            return 0;
        // docs/fixed-behaviour.md: hundredth-draw
        if (--left == 0)
            return 0;
        if (BN_cmp(result, bound) < 0)
            return 1;
    }
}

// For bounds that start with 100, where a draw of the bound's own width would be
// too high nearly half of the time: one bit more, and up to two subtractions.
int drawAndReduce(BIGNUM* result, const BIGNUM* bound, int bits)
{
    for (int left = drawLimit;;) {
        if (!drawBits(result, bits + 1))
            return 0;
        for (int i = 0; i < 2 && BN_cmp(result, bound) >= 0; ++i)
            if (!BN_sub(result, result, bound))
                return 0;
        // docs/fixed-behaviour.md: hundredth-draw
        if (--left == 0)
            return 0;
        if (BN_cmp(result, bound) < 0)
            return 1;
    }
}

} // namespace

int getRandomBelow(BIGNUM* result, const BIGNUM* bound)
{
    if (BN_is_negative(bound) || BN_is_zero(bound))
        return 0;
    const int bits = BN_num_bits(bound);
    if (bits == 1) {
        BN_zero(result);
        return 1;
    }
    if (BN_is_bit_set(bound, bits - 2) || BN_is_bit_set(bound, bits - 3))
        return drawUntilBelow(result, bound, bits);
    return drawAndReduce(result, bound, bits);
}
