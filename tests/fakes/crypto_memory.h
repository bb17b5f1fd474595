// libcrypto's memory: the library takes every block from here.
#pragma once

#include <openssl/bn.h>

// Lets the library's allocation of this number, counted from 0 and from now on,
// fail: it alone. A negative number lets none fail.
void failCryptoAllocation(int number);

// How many allocations the library asked for since the last failCryptoAllocation.
int cryptoAllocations();

// How many blocks the library holds now, without those of its error queue, which this
// clears.
int cryptoBlocks();

// From now on counts the blocks in which this number, of more than 120 bits, stands when
// they are given back: 16 bytes of its middle, the least significant first, as a BIGNUM
// holds them on the processors that the tests run on. Null: counts none.
void watchForNumber(const BIGNUM* secret);

// How many blocks were counted since the last watchForNumber.
int blocksWithTheNumber();
