// A number as text for diagnosis.
#pragma once

#include <openssl/bn.h>

// Formats `number` as pairs of upper-case hex digits, each with a blank behind
// it, and drops the text: the place to look at, or print, a found prime from.
void traceNumberHex(const BIGNUM* number);
