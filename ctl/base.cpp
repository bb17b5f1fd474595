#include "ctl/base.h"

#include "ctl/input_file.h"
#include "ctl/number_text.h"

#include <new>
#include <utility>

namespace
{

SecretNumber require(SecretNumber number)
{
    if (!number)
        throw std::bad_alloc();
    return number;
}

void require(int succeeded)
{
    if (!succeeded)
        throw std::bad_alloc();
}

// index/count of the numbers of `bits` bits with the highest one set, rounded down.
SecretNumber distanceOf(int bits, Share share)
{
    SecretNumber distance = require(SecretNumber(BN_new()));
    require(BN_set_bit(distance.get(), bits - 1));
    require(BN_mul_word(distance.get(), static_cast<BN_ULONG>(share.index)));
    require(BN_div_word(distance.get(), static_cast<BN_ULONG>(share.count)) !=
            static_cast<BN_ULONG>(-1));
    return distance;
}

// More than any base with blanks, line ends and colons needs.
constexpr std::size_t longestFile = 1 << 20;

} // namespace

SecretNumber spreadBase(const BIGNUM* base, int bits, Share share)
{
    SecretNumber spread = require(SecretNumber(BN_dup(base)));
    if (share.index == 0)
        return spread;
    // Of each start norv sets the highest bit.
    require(BN_mask_bits(spread.get(), bits - 1) ||
            BN_num_bits(spread.get()) <= bits - 1);
    require(BN_add(spread.get(), spread.get(), distanceOf(bits, share).get()));
    if (BN_num_bits(spread.get()) > bits - 1)
        require(BN_clear_bit(spread.get(), bits - 1));
    require(BN_set_bit(spread.get(), bits - 1));
    return spread;
}

SecretNumber randomBase(int bits, Share share)
{
    const SecretNumber first = distanceOf(bits, share);
    const SecretNumber next = distanceOf(bits, {share.index + 1, share.count});
    SecretNumber range = require(SecretNumber(BN_new()));
    SecretNumber base = require(SecretNumber(BN_new()));
    require(BN_sub(range.get(), next.get(), first.get()));
    require(BN_priv_rand_range(base.get(), range.get()));
    require(BN_add(base.get(), base.get(), first.get()));
    require(BN_set_bit(base.get(), bits - 1));
    return base;
}

std::variant<SecretNumber, std::string> baseFromHex(std::string_view text, int bits)
{
    int digits = 0;
    std::variant<SecretNumber, TextError> parsed = parseHex(text, &digits);
    if (const TextError* error = std::get_if<TextError>(&parsed))
        return "line " + std::to_string(error->line) + ", column " +
               std::to_string(error->column) + ": " + error->what;
    SecretNumber base = require(std::move(std::get<SecretNumber>(parsed)));
    if (digits != bits / 4)
        return std::to_string(digits) + " hex digits, but BITS " + std::to_string(bits) +
               " needs " + std::to_string(bits / 4);
    return base;
}

std::variant<SecretNumber, std::string> baseFromFile(const std::string& path, int bits)
{
    const std::variant<SecretText, ReadError> read = readInput(path, longestFile);
    if (const ReadError* error = std::get_if<ReadError>(&read))
        return error->why;
    return baseFromHex(std::get<SecretText>(read).text, bits);
}
