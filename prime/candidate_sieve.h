// Candidate sieve: from a start value to the next number worth a primality test.
#pragma once

#include "prime/small_primes.h"

#include <cstdint>
#include <openssl/bn.h>

// Bits of a search's mode. All others are ignored.
inline constexpr int modeSafe = 1;     // a safe prime: (p-1)/2 is prime too
inline constexpr int modeFromBase = 2; // upward from the number given, not random

// Replaces `candidate` by the first odd number of exactly `bits` bits, from the start on,
// that no sieve prime divides; with modeSafe by one that is 3 modulo 4 and whose (p-1)/2
// none divides either. Up to 31 bits, only the sieve primes up to the number's square
// root are tried. After the largest number of that size it wraps around within the bit
// length or, without modeFromBase, draws a new start.
//
// candidate  in, with modeFromBase: the number given. A longer one counts with its low
//            bits. The start is 2 above an odd and 3 above an even one, with the top
//            bit set. In, without modeFromBase: anything. The start is then random, its
//            two top bits set. Out: the candidate or, after a failure, whatever was
//            computed last
// bits       size of the result, 2 or more
// mode       modeSafe, modeFromBase
// residues   scratch, smallPrimeCount entries, reused from call to call: the
//            entries of the primes used receive the start's residues
// Returns 1, or 0 when a library call, an allocation or the random source
// failed, or when, with modeFromBase, the offset range ran out. Touches nothing but
// its arguments: any number of threads.
int nextCandidate(BIGNUM* candidate, int bits, int mode, std::uint16_t* residues,
                  BN_CTX* context);
