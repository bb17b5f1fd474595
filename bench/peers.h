// Searches of other libraries that norv's are compared with. Each finds one prime of
// `bits` bits and drops it.
#pragma once

#include <openssl/bn.h>

// By libcrypto's own generator, from a random start. `callback` gets its events.
// Returns false on failure.
bool findWithLibcrypto(int bits, bool safe, BN_GENCB* callback);

// By GMP, upward from `base`. Returns false on failure.
bool findWithGmp(const BIGNUM* base);

// Whether Botan was there when this was built.
extern const bool botanIsBuiltIn;

// By Botan, from a random start. Returns false without Botan; throws what Botan does.
bool findWithBotan(int bits, bool safe);
