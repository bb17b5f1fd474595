// Sieve plans: how deep and how far a search of a size sieves.
#pragma once

#include <cstddef>
#include <cstdint>

// What a size and a mode call for.
struct SievePlan {
    bool safe = false;
    bool halves = false;             // factors of (p-1)/2 count too
    std::uint32_t step = 2;          // from one number to the next
    std::size_t smallCount = 0;      // primes that decide what is a candidate
    std::size_t primeCount = 0;      // primes to sieve with, these included
    std::uint32_t segmentLength = 0; // numbers that small primes cross off at once
    std::uint32_t reach = 0;         // numbers that the others cross off; 0: no sieve
    std::size_t sliceLength = 0;     // larger primes between two candidates
};

// How many of the sieve's primes a search pays for, where one exponentiation costs as
// much as crossing off `cost` larger primes.
std::size_t worthwhilePrimes(int bits, bool safe, bool halves, double cost);

// The plan for a search of `bits` bits, 2 or more, in this mode (modeSafe,
// modeFromBase). It counts factors of (p-1)/2 too when eventsUnwatched allows. Its
// reach is 0 without modeFromBase and where no sieve pays.
SievePlan planSieve(int bits, int mode);
