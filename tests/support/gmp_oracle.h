// What a search must find, by GMP, which shares no code with the engine.
//
// Numbers are hex digits, upper case and without leading zeros, in and out.
#pragma once

#include "tests/support/event_trace.h"

#include <cstdint>
#include <string>
#include <vector>

namespace oracle
{

// What to search: numbers of exactly `bits` bits, safe primes or any.
struct Search {
    int bits;
    bool safe;
};

// A number of exactly `bits` bits, the same for the same seed everywhere.
std::string randomNumber(int bits, std::uint32_t seed);

// The number plus an offset, which may be negative.
std::string sum(const std::string& number, long offset);

// 2 to the power of `exponent`, plus an offset, which may be negative.
std::string powerOfTwo(int exponent, long offset);

unsigned long remainder(const std::string& number, unsigned long divisor);

// The i-th prime, 0 for the prime 2.
unsigned long smallPrime(int i);

// The first prime above a number.
unsigned long primeAbove(unsigned long number);

// How many primes from 2 on a candidate of this size is sieved with.
int sievedPrimes(int bits);

// The next candidate above the base, found by trial division of one number after
// the other.
std::string nextCandidate(const std::string& base, const Search& search);

// The first prime from the base's start on, the start included. If no prime follows
// within the size: the first prime among the candidates, which wrap around.
std::string firstPrime(const std::string& base, const Search& search);

// Whether one iteration of Miller-Rabin with this witness lets `number` pass.
bool passesTest(const std::string& number, unsigned long witness);

// What a search with one and the same witness for every iteration must tell its
// callback, and the number it ends with. `checks` iterations a number.
struct Outcome {
    std::vector<Event> events;
    std::string prime;
};
Outcome searchWithWitness(const std::string& base, const Search& search, int checks,
                          unsigned long witness);

} // namespace oracle
