// Searches of other libraries that norv's are compared with. Each finds one prime.
#pragma once

#include <openssl/bn.h>

// By libcrypto's own generator, from a random start; drops the prime, of `bits` bits.
// `callback` gets its events. Returns false on failure.
bool findWithLibcrypto(int bits, bool safe, BN_GENCB* callback);

// By GMP: replaces `number`, whose bits are a multiple of 8, by the next prime above it.
// Returns false when that has more bits, or on failure.
bool findWithGmp(BIGNUM* number);

// Whether Botan was there when this was built.
extern const bool botanIsBuiltIn;

// By Botan, from a random start; drops the prime, of `bits` bits. Returns false without
// Botan; throws what Botan does.
bool findWithBotan(int bits, bool safe);
