#include "prime/word_residues.h"

#include "prime/sieve_primes.h"
#include "prime/small_primes.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

class Residues : public testing::TestWithParam<int>
{
protected:
    std::string digits = oracle::randomNumber(GetParam(), 11);
    BigNumber number = fromHex(digits);
};

TEST_P(Residues, OfSmallPrimesAreThoseOfTheNumber)
{
    std::array<std::uint16_t, smallPrimeCount> residues{};
    ASSERT_TRUE(
        computeWordResidues<std::uint16_t>(number.get(), smallPrimes, residues.data()));
    for (std::size_t i = 0; i < smallPrimeCount; ++i)
        ASSERT_EQ(oracle::remainder(digits, smallPrimes[i]), residues[i])
            << smallPrimes[i];
}

std::vector<std::uint64_t> wordsOf(const BIGNUM* number)
{
    std::vector<std::uint64_t> words(std::max<std::size_t>(
        1, (static_cast<std::size_t>(BN_num_bytes(number)) + 7) / 8));
    EXPECT_LE(0, BN_bn2lebinpad(number, reinterpret_cast<unsigned char*>(words.data()),
                                static_cast<int>(words.size() * 8)));
    return words;
}

void checkDistances(const std::string& digits, const std::vector<std::uint64_t>& words,
                    std::span<const std::uint32_t> primes)
{
    std::vector<std::uint32_t> distances(primes.size());
    computeDistances(words, primes, distances.data());
    for (std::size_t i = 0; i < primes.size(); ++i)
        ASSERT_EQ((primes[i] - oracle::remainder(digits, primes[i])) % primes[i],
                  distances[i])
            << primes[i];
}

TEST_P(Residues, TellTheDistancesToTheNextMultiples)
{
    const auto words = wordsOf(number.get());
    for (const std::size_t block : {0U, 1U, 750U, 2049U}) {
        // From one prime on, so that each number of them in the last group occurs.
        for (const std::size_t count : {1U, 2U, 3U, 4U, 5U, 17U, 1000U}) {
            const auto primes = sievePrimes(block).first(count);
            ASSERT_NO_FATAL_FAILURE(checkDistances(digits, words, primes));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Residues,
                         testing::Values(8, 64, 65, 255, 256, 257, 512, 1024, 1088, 1984,
                                         4096, 16384));

TEST(Distances, FromAPrimesMultipleAreZero)
{
    const auto primes = sievePrimes(0).first(40);
    const BigNumber number = fromWord(1);
    for (const std::uint32_t prime : primes)
        ASSERT_TRUE(BN_mul_word(number.get(), prime));
    std::vector<std::uint32_t> distances(primes.size(), 1);
    computeDistances(wordsOf(number.get()), primes, distances.data());
    EXPECT_EQ(std::vector<std::uint32_t>(primes.size(), 0), distances);
}

// The last primes below a power of 2, in increasing order.
std::vector<std::uint32_t> lastPrimesBelow(std::uint64_t power, std::size_t count)
{
    std::vector<std::uint32_t> primes;
    for (auto number = static_cast<unsigned long>(power - 1);
         primes.size() < count && number > 2; --number)
        if (oracle::primeAbove(number - 1) == number)
            primes.push_back(static_cast<std::uint32_t>(number));
    std::reverse(primes.begin(), primes.end());
    return primes;
}

// Of all primes of their length these have the largest products.
TEST(Distances, AreRightForThePrimesBelowEachPowerOfTwo)
{
    const std::string digits = oracle::randomNumber(1984, 12);
    const auto words = wordsOf(fromHex(digits).get());
    for (int bits = 3; bits <= 32; ++bits) {
        const auto primes = lastPrimesBelow(std::uint64_t{1} << bits, 60);
        ASSERT_NO_FATAL_FAILURE(checkDistances(digits, words, primes));
    }
}

// A word that is less than the carry borrows.
TEST(Distances, AreRightForTheLeastAndTheLargestWords)
{
    using WordAt = std::uint64_t (*)(std::size_t);
    constexpr WordAt numbers[] = {
        [](std::size_t) { return std::uint64_t{0}; },
        [](std::size_t) { return ~std::uint64_t{0}; },
        [](std::size_t i) { return std::uint64_t{i == 0}; },
        [](std::size_t i) { return i % 2 == 0 ? 0 : ~std::uint64_t{0}; },
    };
    const auto primes = sievePrimes(2).first(100);
    for (const WordAt wordAt : numbers)
        for (std::size_t count = 1; count <= 64; ++count) {
            std::vector<std::uint64_t> words;
            std::string digits;
            for (std::size_t i = 0; i < count; ++i) {
                words.push_back(wordAt(i));
                char word[17];
                std::snprintf(word, sizeof word, "%016" PRIX64, words.back());
                digits.insert(0, word);
            }
            ASSERT_NO_FATAL_FAILURE(checkDistances(digits, words, primes));
        }
}

} // namespace
