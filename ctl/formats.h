// A found prime in the forms that people and programs need.
#pragma once

#include "prime/big_number.h"

#include <cstdint>
#include <optional>
#include <string>

enum class Format {
    hex,   // one line, lower case
    dec,   // one line
    pem,   // DH parameters (PKCS #3)
    der,   // the same, as DER
    json,  // see json_form.h
    c,     // an array of bytes and its length
    moduli // a line of OpenSSH's moduli(5)
};

// A found prime, and how it was found.
struct Found {
    SecretNumber prime;
    SecretNumber base; // of the search that found it
    bool safe = false;
    int bits = 0;            // a multiple of 8
    int threads = 0;         // how many searched
    double seconds = 0;      // how long they searched
    std::string fromText;    // what the base was derived from, in UTF-8; empty: nothing
    std::string norvVersion; // of the program that searched
    // How many Miller-Rabin tests with random witnesses the prime has passed; see
    // iterationsOfCheck.
    std::uint64_t tried = 0;
};

// Whether the form is only for safe primes: pem, der and moduli.
bool needsSafePrime(Format format);

// The bytes to write, in each form with all line ends. A safe prime where the form needs
// one. Nothing when memory is short or libcrypto fails. The bytes tell the prime, in JSON
// also the base; the caller wipes them where that matters.
//
// pem, der: with the smallest generator of the subgroup of order (p-1)/2
// moduli:   the time of the call, in UTC; type 2; tests 6, which is the sieve and
//           Miller-Rabin; `tried`; the size as OpenSSH counts it, one bit less than the
//           prime has; the same generator; the prime in upper-case hex
std::optional<std::string> inFormat(const Found& found, Format format);
