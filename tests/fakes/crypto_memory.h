// libcrypto's memory: the library takes every block from here.
#pragma once

// Lets the library's allocation of this number, counted from 0 and from now on,
// fail: it alone. A negative number lets none fail.
void failCryptoAllocation(int number);

// How many allocations the library asked for since the last failCryptoAllocation.
int cryptoAllocations();

// How many blocks the library holds now, without those of its error queue, which this
// clears.
int cryptoBlocks();
