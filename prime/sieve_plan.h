// Sieve plans: how many primes a search of a size sieves with, and how far.
#pragma once

#include <cstddef>
#include <cstdint>

// The plan of one size and mode.
struct SievePlan {
    bool safe = false;
    bool halves = false;             // factors of (p-1)/2 count too
    std::uint32_t step = 2;          // from one number to the next
    std::size_t smallCount = 0;      // primes that decide what is a candidate
    std::size_t primeCount = 0;      // primes to sieve with, these included
    std::uint32_t segmentLength = 0; // numbers in a segment of the small primes
    std::uint32_t reach = 0;         // numbers in the larger primes' segment; 0: no sieve
    std::size_t sliceLength = 0;     // larger primes sieved after each candidate
};

// Steps of a search (2 for a prime, 4 for a safe prime) from a number near 2^bits to the
// next prime of the kind, on average. By the prime number theorem; for safe primes by
// Hardy and Littlewood's conjecture.
double meanSteps(int bits, bool safe);

// The share of a search's numbers that no odd prime up to `bound`, 3 or more, divides, by
// Mertens' theorems. With safe: that no such prime divides p or (p-1)/2.
double shareLeft(double bound, bool safe);

// How many primes are worth sieving with, when `cost` larger primes can be sieved in the
// time of one rejection. An estimate. It counts from 3, small primes included, and
// is limited by what the blocks hold: primes below 2^28.
//
// bits    2 or more
// halves  factors of (p-1)/2 count too; only with safe
// cost    0 or more
std::size_t worthwhilePrimes(int bits, bool safe, bool halves, double cost);

// The plan for a search of `bits` bits, 2 or more, in this mode (modeSafe,
// modeFromBase). It counts factors of (p-1)/2 too when eventsUnwatched allows. Its
// reach is 0 without modeFromBase and for sizes too small for a sieve.
SievePlan planSieve(int bits, int mode);
