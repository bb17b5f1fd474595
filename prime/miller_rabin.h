// Miller-Rabin: whether a number is probably prime.
//
// M. O. Rabin, Probabilistic algorithm for testing primality, Journal of Number
// Theory 12 (1980); Handbook of Applied Cryptography, algorithm 4.24.
#pragma once

#include "prime/big_number.h"

// What millerRabin found out.
using PrimeTestStatus = int;
inline constexpr PrimeTestStatus primeTestComposite = 0;
inline constexpr PrimeTestStatus primeTestProbablePrime = 3;

// How many iterations a number of `bits` bits gets: 64 up to 2048 bits, 128
// above.
int iterationsFor(int bits);

// Whether `w` is probably prime. Numbers below 4 and even ones are decided
// without a test.
//
// checks    iterations; 0: iterationsFor the size of w; negative: none at all
// context   temporaries are taken from it; null: one is made for the call
// flag      ignored: small factors have been sieved out before
// callback  gets event 1 after every iteration passed; may be null
// Returns 1 for a probable prime, 0 for anything else, a failed test and a
// refusal of the callback included, and -1 when no context could be made.
int isPrime(const BIGNUM* w, int checks, BN_CTX* context, int flag,
            GenCallback* callback);

// The iteration after the one that was asked for, of a number whose iterations are
// asked for one by one. Of one number alone.
struct IterationAhead {
    int wanted = 0;     // iterations still to come, the one asked for included
    bool known = false; // the next one has been run already
    bool passed = false;
};

// As isPrime with one check, for an odd number of at least 5 and a context. May run the
// next iteration as well, two for less than the price of two, and then keeps its result
// for the next call.
int isPrimeInTurn(const BIGNUM* w, BN_CTX* context, GenCallback* callback,
                  IterationAhead& ahead);

// Runs `checks` iterations (as above) on `w`, each with a witness of its own
// from getRandomBelow, and ends with the first that proves it composite.
//
// context   the temporaries taken from it (seven, or nine where two iterations run
//           at once) are wiped before it returns
// callback  gets event 1 with the iteration's number, from 0, for each one
//           passed; may be null
// status    receives the verdict; unchanged on failure
// Returns 1 with a verdict, or 0 when w is even or below 5, a library call or
// a draw failed, or the callback refused.
int millerRabin(const BIGNUM* w, int checks, BN_CTX* context, GenCallback* callback,
                PrimeTestStatus* status);
