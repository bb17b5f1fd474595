// The sieve of a whole search: what nextCandidate would yield, found window by
// window, and which of it a deeper sieve knows to be composite.
//
// The start's residues modulo each prime are taken once. A window is a stretch of
// the number line above it; numbers with a small factor are crossed off at its
// beginning, those with a larger one in slices between candidates, so that no
// event waits for more than about one exponentiation.
#pragma once

#include "prime/secret_array.h"
#include "prime/word_residues.h"

#include <cstddef>
#include <cstdint>
#include <openssl/bn.h>

struct SearchSieve {
    // Of the search. Numbers are told by their index: how many steps they lie above
    // the start.
    int bits = 0;
    bool safe = false;
    bool halves = false; // factors of (p-1)/2 count too
    std::uint32_t step = 2;
    std::size_t smallCount = 0;     // primes that decide what is a candidate
    std::size_t primeCount = 0;     // primes to sieve with, these included
    std::uint32_t windowLength = 0; // 0: never a window
    std::size_t sliceLength = 0;    // fresh primes in a slice
    SecretNumber start;             // null: no window stands
    ResidueScratch scratch;

    // nextIndex[i]: an index of a number that the i-th prime divides; once the
    // prime has been crossed off in a window, the first one behind that window.
    // Together they give the start by the Chinese remainder theorem.
    SecretArray<std::uint32_t> nextIndex;
    std::size_t known = 0; // primes whose nextIndex is known

    // Of the window, a bit a number. They too tell residues of the start.
    SecretArray<std::uint64_t> rejected;  // has a small factor
    SecretArray<std::uint64_t> composite; // has a larger one
    std::uint32_t windowStart = 0;        // index of its first number
    std::size_t crossed = 0;              // primes crossed off in it
    std::size_t block = 0;                // that the next prime stands in
    std::size_t blockFirst = 0;           // primes before that block
    std::uint32_t position = 0;           // of the candidate in the window
};

// The sieve of a search of this size and mode. It counts factors of (p-1)/2 too
// when eventsUnwatched allows. Idle, so that it knows of no factor, without
// modeFromBase, without shortcutsEnabled, where it does not pay, and when memory is
// short.
SearchSieve makeSearchSieve(int bits, int mode);

// Does what nextCandidate does with modeFromBase: the same candidates in the
// same order, the same result. `residues` and `context` as there.
int nextSievedCandidate(SearchSieve& sieve, BIGNUM* candidate, int mode,
                        std::uint16_t* residues, BN_CTX* context);

// Crosses off one more slice of primes in the window. Nothing when all are, or when
// a library call fails: the sieve then knows less. `context` lends temporaries.
void sieveSlice(SearchSieve& sieve, BN_CTX* context);

// Whether the sieve knows a factor of the candidate yielded last, or, with
// halves, one of its (p-1)/2. Never wrong, unlike a test whose witnesses repeat.
bool knowsFactor(const SearchSieve& sieve);
