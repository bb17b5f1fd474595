// Ways of exponentiation: which one is the fastest here, found out by using them.
//
// It depends on the size, on the processor and on libcrypto's version. No work is done
// for the timing alone: the first exponentiations of a search use each way in turn.
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

// The fastest way so far for one number alone, by a base that the way must take:
// slidingWindow or constantTime, for the base 2 squarings as well. Any thread.
ExponentiationWay singleWay(int bits, bool baseTwo);

// The fastest way so far for two witnesses of one number, never squarings. Any thread.
ExponentiationWay witnessWay(int bits);

// `count` exponentiations by this way took so many seconds together. They are of the
// process's size: it has one. Any thread.
void noteExponentiations(ExponentiationWay way, int count, double seconds);
