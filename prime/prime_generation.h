// Prime generation: the search upward from a base for a prime, or a safe prime.
#pragma once

#include "prime/base_bits.h"
#include "prime/big_number.h"
#include "prime/candidate_sieve.h"

// Searches upward from `candidate` for a prime of exactly `baseBits` bits, or a safe
// prime with modeSafe; without modeFromBase from a random start. The start lies above the
// base, as nextCandidate says: only a search that wraps around could come back to the
// base. Sieves candidates (nextCandidate) and tests the survivors (isPrime); a safe one
// in turns, p and (p-1)/2, one iteration each.
//
// candidate  in: the base; out: the prime, or the last candidate on failure
// callback   event 0 with the candidate's number, from 0, before each is tested;
//            event 2 with the same number after each turn that p and (p-1)/2 both
//            passed; event 1 from the test. A refusal of event 0 or 2 ends the
//            search; one of event 1 rejects the candidate, so that the next event 0
//            ends it. A candidate with a known factor, or one that the strong test
//            proves composite, gets no event 1: no witness is drawn for it. With
//            eventsUnwatched, events 1 of rejected candidates for a safe prime may be
//            left out. May be null
// context    required; the caller's
// The second, fourth and fifth arguments, a size and a progression, stand where
// the library's own generators have them and are ignored.
// Returns 1 when a prime was found, 0 on every failure and refusal, and at once for the
// sizes that are not searched: below 2 bits, and for a safe prime 2, 4 and 5 bits too.
// Reads baseBits and eventsUnwatched; any number of threads.
int generatePrime(BIGNUM* candidate, int ignoredBits, int mode, const BIGNUM* ignoredAdd,
                  const BIGNUM* ignoredRemainder, GenCallback* callback, BN_CTX* context);
