// Where a search starts: the base.
#pragma once

#include "prime/big_number.h"

#include <string>
#include <string_view>
#include <variant>

// The part `index` of `count` equal parts of a size, index from 0.
struct Share {
    int index = 0;
    int count = 1;
};

// The base that lies index/count of the size above `base`, and wraps around within the
// size: as many bits, the highest one set. For 0 of anything the base as it is.
// Throws std::bad_alloc.
SecretNumber spreadBase(const BIGNUM* base, int bits, Share share);

// A random base of that part of the numbers of `bits` bits, from libcrypto's private
// generator. Throws std::bad_alloc.
SecretNumber randomBase(int bits, Share share);

// The base of exactly `bits` bits, leading zeros included, that hex text gives; or, for
// people, what is wrong with the text and where, without saying whose text it is. Throws
// std::bad_alloc.
std::variant<SecretNumber, std::string> baseFromHex(std::string_view text, int bits);

// The same of the text in a file; "-" is standard input.
std::variant<SecretNumber, std::string> baseFromFile(const std::string& path, int bits);
