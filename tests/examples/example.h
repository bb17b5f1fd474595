// What the tests of the examples share.
#pragma once

#include "tests/support/prime_check.h"

#include <gtest/gtest.h>
#include <string>

// A safe prime above this base takes hours.
inline const std::string hopelessBase(1024, 'F');

// A base whose top bit is set, so that the search goes upward from it and no further.
inline std::string baseOf(int bits)
{
    std::string base;
    for (int i = 0; i < bits / 4; ++i)
        base += "9E3779B97F4A7C15"[i % 16];
    return base;
}

// `prime` has the size of the base and lies in one of the first windows above it.
inline void expectPrimeAbove(const std::string& base, bool safe, const std::string& prime)
{
    ASSERT_EQ(base.size(), prime.size()) << prime;
    EXPECT_TRUE(isPrime(prime, safe)) << prime;
    EXPECT_LT(base, prime);
    constexpr unsigned long manyWindows = 1000;
    EXPECT_GT(manyWindows,
              windowsBetween(base, prime, static_cast<int>(base.size() * 4)));
}
