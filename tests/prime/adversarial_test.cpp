// Composites that are made or known to pass: strong pseudoprimes, Carmichael numbers
// and products (k+1)(2k+1). What a witness proves does not depend on where it comes
// from, so all of these are held against the published lists and GMP.
//
// C. Pomerance, J. L. Selfridge, S. S. Wagstaff, The pseudoprimes to 25 * 10^9,
// Mathematics of Computation 35 (1980); G. Jaeschke, On strong pseudoprimes to several
// bases, Mathematics of Computation 61 (1993); J. Sorenson, J. Webster, Strong
// pseudoprimes to twelve prime bases, Mathematics of Computation 86 (2017).
#include "prime/miller_rabin.h"

#include "tests/prime/engine.h"
#include "tests/prime/published_pseudoprimes.h"
#include "tests/prime/random_draws.h"
#include "tests/prime/related_primes.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <algorithm>
#include <gmp.h>
#include <gtest/gtest.h>

namespace
{

std::string hexOf(const std::string& decimal)
{
    BIGNUM* number = nullptr;
    BN_dec2bn(&number, decimal.c_str());
    return toHex(BigNumber(number).get());
}

// Whether all iterations pass with this witness, of at most 16 bits, in each of them.
// The verdict must be that of the definition.
bool passes(const std::string& number, int witness, int checks = 1)
{
    const int draw = witness - 2;
    RandomDraws::Bytes bytes{static_cast<std::uint8_t>(draw)};
    if (draw > 0xFF)
        bytes.insert(bytes.begin(), static_cast<std::uint8_t>(draw >> 8));
    RandomDraws draws(RandomDraws::Script{bytes});
    const Context context = newContext();
    const bool passed =
        isPrime(fromHex(number).get(), checks, context.get(), 0, nullptr) == 1;
    EXPECT_EQ(oracle::passesTest(number, static_cast<unsigned long>(witness)), passed)
        << number << ", witness " << witness;
    return passed;
}

constexpr int firstPrimes[] = {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41};

class KnownComposite : public testing::TestWithParam<const char*>
{
protected:
    const std::string number = hexOf(GetParam());
};

std::string digitsOf(const testing::TestParamInfo<const char*>& number)
{
    return number.param;
}

// OEIS A001262.
using StrongPseudoprimeToTwo = KnownComposite;

TEST_P(StrongPseudoprimeToTwo, PassesWithTheWitnessTwo)
{
    EXPECT_TRUE(passes(number, 2));
    EXPECT_TRUE(passes(number, 2, 64));
}

TEST_P(StrongPseudoprimeToTwo, IsFoundOutByAnotherSmallWitness)
{
    EXPECT_FALSE(::isPrime(number, false));
    EXPECT_FALSE(passes(number, 3) && passes(number, 5) && passes(number, 7));
}

INSTANTIATE_TEST_SUITE_P(FirstOfThem, StrongPseudoprimeToTwo,
                         testing::Values("2047", "3277", "4033", "4681", "8321", "15841",
                                         "29341", "42799", "49141", "52633", "65281",
                                         "74665", "80581", "85489", "88357", "90751",
                                         "104653", "130561", "196093", "220729", "233017",
                                         "252601", "253241", "256999", "271951", "280601",
                                         "314821", "357761", "390937", "458989", "476971",
                                         "486737"),
                         digitsOf);

// OEIS A014233: the smallest strong pseudoprime to the first n primes at once.
TEST(SmallestStrongPseudoprime, PassesWithTheFirstPrimesAndNoFurther)
{
    struct Row {
        int bases;
        const char* number;
    };
    constexpr Row rows[] = {{1, "2047"},
                            {2, "1373653"},
                            {3, "25326001"},
                            {4, "3215031751"},
                            {5, "2152302898747"},
                            {6, "3474749660383"},
                            {8, "341550071728321"},
                            {11, "3825123056546413051"},
                            {12, "318665857834031151167461"},
                            {13, "3317044064679887385961981"}};
    for (const auto& [bases, decimal] : rows) {
        const std::string number = hexOf(decimal);
        EXPECT_FALSE(::isPrime(number, false)) << decimal;
        for (int i = 0; i < bases; ++i)
            EXPECT_TRUE(passes(number, firstPrimes[i])) << decimal;
        int foundOutBy = 0;
        for (int witness = 2; witness < 258 && foundOutBy == 0; ++witness)
            foundOutBy = passes(number, witness) ? 0 : witness;
        EXPECT_NE(0, foundOutBy) << decimal;
        EXPECT_TRUE(bases == 13 || foundOutBy <= 41) << decimal;
    }
}

TEST(ArnaultsNumber, PassesWithEveryPrimeBelow307)
{
    const std::string number = arnaultsNumber();
    for (unsigned long prime = 2; prime < 307; prime = oracle::primeAbove(prime))
        EXPECT_TRUE(passes(number, static_cast<int>(prime))) << prime;
    EXPECT_FALSE(passes(number, 307));
    EXPECT_FALSE(::isPrime(number, false));
}

// OEIS A002997. Fermat's test takes them for prime with every witness that shares no
// factor with them; Miller-Rabin does so with a quarter of the witnesses at most.
using CarmichaelNumber = KnownComposite;

// Whether Fermat's test takes the number for prime with every base.
bool isCarmichael(unsigned long number)
{
    mpz_t power;
    mpz_t modulus;
    mpz_init(power);
    mpz_init_set_ui(modulus, number);
    bool all = true;
    for (unsigned long base = 2; base < number && all; ++base) {
        mpz_set_ui(power, base);
        mpz_powm(power, power, modulus, modulus);
        all = mpz_cmp_ui(power, base) == 0;
    }
    mpz_clears(power, modulus, nullptr);
    return all;
}

TEST_P(CarmichaelNumber, IsFoundOutByThreeOfFourWitnessesAtLeast)
{
    const int value = std::stoi(GetParam());
    ASSERT_TRUE(isCarmichael(static_cast<unsigned long>(value)));
    int passed = 2; // 1 and the number less 1, which are never drawn
    for (int witness = 2; witness <= value - 2; ++witness)
        passed += passes(number, witness) ? 1 : 0;
    EXPECT_LE(4 * passed, value - 1);
    EXPECT_FALSE(::isPrime(number, false));
}

INSTANTIATE_TEST_SUITE_P(FirstOfThem, CarmichaelNumber,
                         testing::Values("561", "1105", "1729", "2465", "2821", "6601",
                                         "8911", "10585"),
                         digitsOf);

TEST(ProductOfRelatedPrimes, IsJudgedByEachWitnessAsTheDefinitionDoes)
{
    int passed = 0;
    int tried = 0;
    for (const int bits : {32, 64, 128, 256, 512})
        for (std::uint32_t seed = 1; seed <= 8; ++seed) {
            const std::string number = productOfRelatedPrimes(bits, seed);
            EXPECT_FALSE(::isPrime(number, false));
            for (int witness = 2; witness <= 33; ++witness, ++tried)
                passed += passes(number, witness) ? 1 : 0;
        }
    // Some pass, and no more than a composite's quarter, with room for chance.
    EXPECT_GT(passed, 0);
    EXPECT_LT(3 * passed, tried);
}

TEST(ProductOfRelatedPrimes, PassesAllIterationsWithOneWitnessThatPassesOnce)
{
    for (const int bits : {32, 128, 512}) {
        const std::string number = productOfRelatedPrimes(bits, 1);
        int witness = 2;
        while (witness < 257 && !passes(number, witness))
            ++witness;
        ASSERT_LT(witness, 257) << bits;
        EXPECT_TRUE(passes(number, witness, 64)) << bits;
    }
}

} // namespace
