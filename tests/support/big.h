// Big numbers in tests: from hex, to hex.
#pragma once

#include "prime/big_number.h"

#include <string>
#include <string_view>

// The number with these hex digits; a digit separator (') between them and a
// leading minus sign are allowed.
BigNumber fromHex(std::string_view digits);

// The number's upper-case hex digits without leading zeros; "0" for zero.
std::string toHex(const BIGNUM* number);
