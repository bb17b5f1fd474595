// The small primes that candidates are sieved with, and how many of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr std::size_t smallPrimeCount = 2048;
inline constexpr std::uint32_t largestSmallPrime = 17863;

// The first 2048 primes, from 2 on, in increasing order.
extern const std::array<std::uint16_t, smallPrimeCount> smallPrimes;

// How many of them, the unused 2 included, sieve a candidate of `bits` bits:
// more where an exponentiation, which a small factor saves, costs more.
int trialDivisions(int bits);

// The largest offset that the sieve takes from one start at that size: a residue
// of the largest prime used plus this still fits 64 bits. It is also the
// distance between the windows that the workers take.
std::uint64_t maxDeltaFor(int bits);
