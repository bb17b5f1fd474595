#include "prime/sieve_primes.h"

#include "prime/small_primes.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace
{

TEST(SievePrimes, AreAllOddPrimesInOrder)
{
    std::uint32_t last = 2;
    for (std::size_t block = 0; block < 4; ++block)
        for (const std::uint32_t prime : sievePrimes(block)) {
            ASSERT_EQ(oracle::primeAbove(last), prime);
            last = prime;
        }
    EXPECT_GT(oracle::primeAbove(last), sieveBlockEnd(3));
}

TEST(SievePrimes, BeginWithTheSmallOnes)
{
    const auto primes = sievePrimes(0);
    EXPECT_TRUE(std::equal(smallPrimes.begin() + 1, smallPrimes.end(), primes.begin(),
                           primes.end()));
}

TEST(SievePrimes, StandInTheirBlocks)
{
    for (const std::size_t block : {1U, 2U, 3U, 128U, 2049U}) {
        const auto primes = sievePrimes(block);
        ASSERT_FALSE(primes.empty());
        const std::uint32_t start = sieveBlockEnd(block - 1);
        EXPECT_EQ(oracle::primeAbove(start), primes.front());
        EXPECT_GT(oracle::primeAbove(primes.back()), sieveBlockEnd(block));
    }
}

TEST(SievePrimes, AreAsManyAsThePrimesBelowThem)
{
    std::size_t count = 0;
    for (std::size_t block = 0; sieveBlockEnd(block) <= 1U << 24; ++block)
        count += sievePrimes(block).size();
    // 1077871 primes lie below 2^24.
    EXPECT_EQ(1077870U, count);
}

TEST(SievePrimes, AreAsManyAsThePrimesBelowTheLimit)
{
    std::size_t count = 0;
    for (std::size_t block = 0; block < sieveBlockLimit; ++block)
        count += sievePrimes(block).size();
    // 14630843 primes lie below 2^28.
    EXPECT_EQ(14630842U, count);
}

TEST(SievePrimes, AreTakenInOrderAcrossBlocks)
{
    PrimeCursor cursor;
    std::uint32_t last = 2;
    for (std::size_t count = 1; cursor.block < 3; ++count) {
        const std::size_t before = cursor.passed;
        const auto primes = takePrimes(cursor, count);
        ASSERT_FALSE(primes.empty());
        ASSERT_LE(primes.size(), count);
        ASSERT_EQ(before + primes.size(), cursor.passed);
        for (const std::uint32_t prime : primes) {
            ASSERT_EQ(oracle::primeAbove(last), prime);
            last = prime;
        }
    }
}

TEST(SievePrimes, AreNotTakenWhenNoneAreWanted)
{
    PrimeCursor cursor;
    EXPECT_TRUE(takePrimes(cursor, 0).empty());
    EXPECT_EQ(0U, cursor.passed);
    const auto primes = takePrimes(cursor, 1);
    ASSERT_EQ(1U, primes.size());
    EXPECT_EQ(3U, primes.front());
}

TEST(SievePrimes, EndWithTheLastBlock)
{
    PrimeCursor cursor{sieveBlockLimit - 2, 0, 0};
    while (!takePrimes(cursor, 1000).empty())
        continue;
    EXPECT_EQ(sievePrimes(sieveBlockLimit - 2).size() +
                  sievePrimes(sieveBlockLimit - 1).size(),
              cursor.passed);
    EXPECT_TRUE(takePrimes(cursor, 1).empty());
}

TEST(SievePrimes, AreTheSameAtEachCall)
{
    EXPECT_EQ(sievePrimes(7).data(), sievePrimes(7).data());
}

} // namespace
