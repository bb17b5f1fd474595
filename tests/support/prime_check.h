// What a result must be, by GMP and the arithmetic of the library: nothing here
// comes from the search itself.
//
// Numbers are hex digits, upper case and without leading zeros, in and out.
#pragma once

#include <string>

// Whether GMP takes the number for a prime; or, safe, half of it as well.
bool isPrime(const std::string& number, bool safe);

int bitsOf(const std::string& number);

// The number modulo 2 to the `bits`, `count` windows further up. A window is as
// wide as a search for that many bits makes it.
std::string windowStart(const std::string& number, int bits, unsigned long count);

// How many whole windows `prime` lies above `base`, the top bit of both left
// out: every result has it, a base need not.
unsigned long windowsBetween(const std::string& base, const std::string& prime, int bits);
