#include "prime/word_residues.h"

#include "prime/sieve_primes.h"
#include "prime/small_primes.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>

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

TEST_P(Residues, OfLargerPrimesAreThoseOfTheNumber)
{
    const Context context = newContext();
    const ResidueScratch scratch{BigNumber(BN_new()), SecretNumber(BN_new())};
    for (const std::size_t block : {0U, 1U, 3000U}) {
        const auto primes = sievePrimes(block).first(1000);
        std::vector<std::uint32_t> residues(primes.size());
        ASSERT_TRUE(computeGroupResidues(number.get(), primes, residues.data(), scratch,
                                         context.get()));
        for (std::size_t i = 0; i < primes.size(); ++i)
            ASSERT_EQ(oracle::remainder(digits, primes[i]), residues[i]) << primes[i];
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Residues,
                         testing::Values(8, 64, 65, 255, 256, 257, 512, 1024, 4096));

TEST(ResiduesOfAPrimesMultiple, AreZero)
{
    const Context context = newContext();
    const ResidueScratch scratch{BigNumber(BN_new()), SecretNumber(BN_new())};
    const auto primes = sievePrimes(0).first(40);
    const BigNumber number = fromWord(1);
    for (const std::uint32_t prime : primes)
        ASSERT_TRUE(BN_mul_word(number.get(), prime));
    std::vector<std::uint32_t> residues(primes.size(), 1);
    ASSERT_TRUE(computeGroupResidues(number.get(), primes, residues.data(), scratch,
                                     context.get()));
    EXPECT_EQ(std::vector<std::uint32_t>(primes.size(), 0), residues);
}

TEST(ResiduesOfNoPrimes, NeedNoDivision)
{
    EXPECT_TRUE(computeGroupResidues(fromWord(7).get(), {}, nullptr, {}, nullptr));
}

} // namespace
