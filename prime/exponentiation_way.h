// Ways of exponentiation: which one is the fastest here, found out by using them.
//
// It depends on the size, on the processor and on libcrypto's version. No work is done
// for the timing alone: exponentiations of a search now and then take another way.
#pragma once

#include <array>
#include <cstddef>

enum class ExponentiationWay {
    slidingWindow, // BN_mod_exp_mont
    constantTime,  // BN_mod_exp_mont_consttime
    twoAtOnce,     // BN_mod_exp_mont_consttime_x2: for two moduli
    squarings      // a chain of Montgomery squarings, for the base 2 alone
};
inline constexpr std::size_t wayCount = 4;

// The way for the next rejection of a number of `bits` bits: the fastest, or one that
// is still to be tried. Any thread.
ExponentiationWay rejectionWay(int bits);

// The way for one number alone. With `baseTwo`, for the base 2: the fastest so far, or
// the size's usual way when none was timed. Otherwise, for any base: slidingWindow, or
// constantTime where it is the size's usual way or clearly faster. Any thread.
ExponentiationWay singleWay(int bits, bool baseTwo);

// The way for two witnesses of one number: the usual one of the size, or one that was
// clearly faster, never squarings. Any thread.
ExponentiationWay witnessWay(int bits);

// `count` exponentiations by this way took so many seconds together. They are of the
// process's size: it has one. Any thread.
void noteExponentiations(ExponentiationWay way, int count, double seconds);
