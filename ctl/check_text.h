// What a text holds, and whether it is what it claims to be: `norvctl check`.
//
// Read are hex (also all that norv prints), decimal, DH parameters as PEM and DER, and
// the JSON of json_form.h. A text of nothing but decimal digits and line ends is decimal;
// blanks or colons between them, or "0x" before them, make it hex.
#pragma once

#include "prime/big_number.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

// The most bytes that such a text may have.
inline constexpr std::size_t maxCheckedBytes = 1 << 20;

// How a search ended that was made again.
struct RepeatedSearch {
    SecretNumber prime; // null: it found none
    int exitCode = 0;   // when it found none: what the program is to end with
    std::string error;  // when it found none: one line for people
};

// Searches again, with one thread, from this base.
using RepeatSearch =
    std::function<RepeatedSearch(const BIGNUM* base, int bits, bool safe)>;

// What is to be said about a text.
struct CheckAnswer {
    int exitCode = 0;   // 0: it is what it claims. 1: it is not. 2: it cannot be checked
    std::string answer; // for standard output, with a line end; empty: none
    std::string error;  // for standard error, one line without a line end; empty: none
};

// Checks a text with random witnesses. What the forms claim:
//  - hex and decimal: a prime. norv's own messages: of this size, a safe prime or not
//  - DH parameters: a safe prime with a generator of a group of order (p-1)/2 or p-1, or
//    with a q: primes p and q, and a generator of the group of order q
//  - JSON: unchanged since it was written; a prime or safe prime of this size that a
//    search from the base may have found. Where it has a text, the base that belongs to
//    it, and one thread
//
// safe    the prime is to be a safe prime, whatever the text claims
// repeat  makes the search again, and the prime must be the same; only for the JSON of a
//         search with one thread. Empty: not wanted
// Throws std::bad_alloc.
CheckAnswer checkText(std::string_view text, bool safe, const RepeatSearch& repeat);
