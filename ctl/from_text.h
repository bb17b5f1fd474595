// A base that anybody can derive again from a text.
#pragma once

#include "prime/big_number.h"

#include <string_view>

// The base of `bits` bits, a multiple of 8, that belongs to `text`: the first bits / 8
// bytes of SHAKE256 (FIPS 202), the most significant first, with the top bit set. What is
// hashed, in this order:
//  - the 20 characters "norv base from text\n", in ASCII
//  - one byte: 1 for a safe prime, 0 for a prime
//  - `bits`, as four bytes, the most significant first
//  - the bytes of `text`, as they are
// Only the last item has a variable length, so different arguments never hash the same
// bytes. The number is the caller's, and null when libcrypto fails. Throws
// std::bad_alloc.
BigNumber baseFromText(std::string_view text, int bits, bool safe);
