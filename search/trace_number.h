// A number as text for diagnosis.
#pragma once

#include <openssl/bn.h>

// Formats `number` as pairs of upper-case hex digits, each followed by a blank, and drops
// the text. A found prime can be looked at, or printed, from here.
void traceNumberHex(const BIGNUM* number);
