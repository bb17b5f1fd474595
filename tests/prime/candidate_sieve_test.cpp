// The sieve upward from a given number.
//
// Not tested: a search that runs out of offsets. That takes an offset near 2 to
// the power of 64, and no gap between candidates comes near it.
#include "prime/candidate_sieve.h"

#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <array>
#include <gtest/gtest.h>

namespace
{

// What an entry holds that the sieve leaves alone.
constexpr std::uint16_t untouched = 0xFFFF;

class NextCandidate : public testing::Test
{
protected:
    void SetUp() override
    {
        residues_.fill(untouched);
    }

    std::string from(const std::string& start, int bits, int mode = modeFromBase)
    {
        const BigNumber candidate = fromHex(start);
        EXPECT_EQ(1, nextCandidate(candidate.get(), bits, mode, residues_.data(),
                                   context_.get()));
        return toHex(candidate.get());
    }

    std::string safeFrom(const std::string& start, int bits)
    {
        return from(start, bits, modeFromBase | modeSafe);
    }

    // Whether the residues left behind are those of this start.
    testing::AssertionResult startedAt(const std::string& start, int bits) const
    {
        const int used = oracle::sievedPrimes(bits);
        for (int i = 1; i < used; ++i)
            if (residues_[static_cast<std::size_t>(i)] !=
                oracle::remainder(start, oracle::smallPrime(i)))
                return testing::AssertionFailure() << "residue " << i << " differs";
        return testing::AssertionSuccess();
    }

    // Expects the candidates after `base` that trial division finds.
    void expectAsByDivision(const std::string& base, const oracle::Search& search,
                            int count)
    {
        std::string found = base;
        std::string expected = base;
        for (int i = 0; i < count; ++i) {
            found = search.safe ? safeFrom(found, search.bits) : from(found, search.bits);
            expected = oracle::nextCandidate(expected, search);
            ASSERT_EQ(expected, found) << search.bits << " bits above " << base;
        }
    }

    std::array<std::uint16_t, smallPrimeCount> residues_{};
    Context context_ = newContext();
};

} // namespace

TEST_F(NextCandidate, TakesTheStartItselfWhenNothingDividesIt)
{
    EXPECT_EQ("8003", from("8001", 16));
    EXPECT_TRUE(startedAt("8003", 16));
}

TEST_F(NextCandidate, LiesAboveTheNumberGivenEvenWhenThatIsPrime)
{
    // 32771 is prime; 32773 to 32777 are 13 * 2521, 3 * 10925 and 73 * 449.
    EXPECT_EQ("800B", from("8003", 16));
    EXPECT_TRUE(startedAt("8005", 16));
}

TEST_F(NextCandidate, StartsThreeAboveAnEvenNumber)
{
    EXPECT_EQ("8015", from("8010", 16));
    EXPECT_TRUE(startedAt("8013", 16));
}

TEST_F(NextCandidate, CutsAStartAboveTheSizeToItsLowBits)
{
    EXPECT_EQ("8003", from("1'8001", 16));
    EXPECT_EQ("8015", from("ABCDEF'0000'8010", 16));
    EXPECT_TRUE(startedAt("8013", 16));
}

TEST_F(NextCandidate, SetsTheTopBitOfASmallStart)
{
    EXPECT_EQ("8015", from("10", 16));
    EXPECT_TRUE(startedAt("8013", 16));
}

TEST_F(NextCandidate, SetsOnlyTheTopBit)
{
    EXPECT_EQ("83", from("0", 8));
}

TEST_F(NextCandidate, StartsThreeAboveTheBottomFromZero)
{
    EXPECT_EQ("8003", from("0", 16));
    EXPECT_TRUE(startedAt("8003", 16));
    from("0", 64);
    EXPECT_TRUE(startedAt("8000000000000003", 64));
}

TEST_F(NextCandidate, GoesFromTheTopOfTheSizeToJustAboveItsBottom)
{
    // FFFF + 2 = 10001, with the top bit 18001; 1800D is the prime 98317, one bit
    // too long. Its low bits give the start 800F, the prime 32783.
    EXPECT_EQ("800F", from("FFFF", 16));
    EXPECT_TRUE(startedAt("800F", 16));
}

TEST_F(NextCandidate, GoesRoundFromTheLastEvenNumberToo)
{
    // FE + 2 and odd is 101, with the top bit 181: 389 is 185, whose low bits lead
    // to the start 87 = 135, and 137 is prime.
    EXPECT_EQ("89", from("FE", 8));
    EXPECT_EQ("89", from("FF", 8));
}

TEST_F(NextCandidate, GoesRoundWhenTheOffsetPassesTheTop)
{
    // 253 and 255 are composite, 257 has a bit too many: its low bits give 131.
    EXPECT_EQ("83", from("FB", 8));
    EXPECT_TRUE(startedAt("83", 8));
}

TEST_F(NextCandidate, GoesRoundInASafeSearch)
{
    // Start FF93; 10007 has a bit too many. From 7: 800B, and 804B survives.
    EXPECT_EQ("804B", safeFrom("FF91", 16));
    EXPECT_TRUE(startedAt("800B", 16));
}

TEST_F(NextCandidate, AcceptsASmallPrimeThatSievesItself)
{
    EXPECT_EQ("5", from("3", 3));
    EXPECT_EQ("B", from("9", 4));
    EXPECT_EQ("83", from("80", 8));   // 131
    EXPECT_EQ("137", from("135", 9)); // 311, the last prime used
}

TEST_F(NextCandidate, IsPrimeWhereTheSquareRootEndsTheScan)
{
    for (const int bits : {8, 16})
        for (std::uint32_t seed = 0; seed < 50; ++seed) {
            const std::string base = oracle::randomNumber(bits, seed);
            EXPECT_EQ(oracle::firstPrime(base, {bits, false}), from(base, bits));
        }
}

TEST_F(NextCandidate, IsASafePrimeWhereTheSquareRootEndsTheScan)
{
    for (const int bits : {8, 16})
        for (std::uint32_t seed = 0; seed < 50; ++seed) {
            const std::string base = oracle::randomNumber(bits, seed);
            EXPECT_EQ(oracle::firstPrime(base, {bits, true}), safeFrom(base, bits));
        }
}

TEST_F(NextCandidate, LetsProductsOfPrimesAboveTheTablePass)
{
    // 313 * 313 = 97969 has 17 bits and no factor up to 311.
    EXPECT_EQ("17EB1", from("17EAF", 17));
}

TEST_F(NextCandidate, HasNoPrimeOfTheTableAsAFactorAbove31Bits)
{
    for (const int bits : {32, 33, 64, 512, 513, 1024, 1025, 2048}) {
        const std::string found = from(oracle::randomNumber(bits, 1), bits);
        for (int i = 1; i < oracle::sievedPrimes(bits); ++i)
            ASSERT_NE(0u, oracle::remainder(found, oracle::smallPrime(i))) << bits;
    }
}

TEST_F(NextCandidate, HasNoPrimeOfTheTableBelowItsHalfAbove31Bits)
{
    for (const int bits : {32, 33, 64, 512, 513, 1024, 1025, 2048}) {
        const std::string found = safeFrom(oracle::randomNumber(bits, 1), bits);
        for (int i = 1; i < oracle::sievedPrimes(bits); ++i)
            ASSERT_GT(oracle::remainder(found, oracle::smallPrime(i)), 1u) << bits;
    }
}

TEST_F(NextCandidate, IsThreeModuloFourInASafeSearch)
{
    for (const int bits : {6, 8, 16, 31, 32, 64, 512})
        for (std::uint32_t seed = 0; seed < 8; ++seed) {
            const std::string found = safeFrom(oracle::randomNumber(bits, seed), bits);
            EXPECT_EQ(3u, oracle::remainder(found, 4)) << found;
        }
}

TEST_F(NextCandidate, StartsASafeSearchAtTheNextNumberThatIsThreeModuloFour)
{
    safeFrom("8000'0000'0000'0000", 64);
    EXPECT_TRUE(startedAt("8000000000000003", 64));
    safeFrom("8000'0000'0000'0001", 64);
    EXPECT_TRUE(startedAt("8000000000000003", 64));
    safeFrom("8000'0000'0000'0002", 64);
    EXPECT_TRUE(startedAt("8000000000000007", 64));
    safeFrom("8000'0000'0000'0003", 64);
    EXPECT_TRUE(startedAt("8000000000000007", 64));
}

TEST_F(NextCandidate, SkipsNoCandidate)
{
    for (const int bits : {8, 17, 24, 31, 32, 33, 64, 128, 512, 513, 1024, 1025, 2049})
        expectAsByDivision(oracle::randomNumber(bits, 7), {bits, false}, 20);
}

TEST_F(NextCandidate, SkipsNoCandidateOfASafeSearch)
{
    for (const int bits : {8, 17, 24, 31, 32, 33, 64, 128, 512, 513, 1024, 1025, 2049})
        expectAsByDivision(oracle::randomNumber(bits, 7), {bits, true}, 10);
}

TEST_F(NextCandidate, SkipsNoCandidateAroundTheTopOfTheSize)
{
    for (const int bits : {8, 16, 31, 32, 64, 512})
        for (const long below : {1, 2, 3, 4, 5, 6, 7, 20, 101}) {
            const std::string base = oracle::powerOfTwo(bits, -below);
            expectAsByDivision(base, {bits, false}, 5);
            expectAsByDivision(base, {bits, true}, 3);
        }
}

TEST_F(NextCandidate, GoesOnFromOneCallToTheNext)
{
    EXPECT_EQ("8003", from("8001", 16));
    EXPECT_EQ("800B", from("8003", 16));
    EXPECT_EQ("800F", from("800B", 16));
    EXPECT_EQ("8015", from("800F", 16));
}

TEST_F(NextCandidate, LeavesTheResiduesItDoesNotUseAlone)
{
    struct Row {
        int bits;
        std::size_t used;
    };
    for (const Row& row :
         {Row{512, 64}, Row{513, 128}, Row{1024, 128}, Row{1025, 384}, Row{2048, 384},
          Row{2049, 1024}, Row{4096, 1024}, Row{4097, 2048}}) {
        residues_.fill(untouched);
        from(oracle::randomNumber(row.bits, 3), row.bits);
        EXPECT_EQ(untouched, residues_[0]) << row.bits;
        for (std::size_t i = 1; i < residues_.size(); ++i)
            ASSERT_EQ(i >= row.used, residues_[i] == untouched) << row.bits << ": " << i;
    }
}

TEST_F(NextCandidate, KeepsTheResiduesOfTheStartNotOfTheCandidate)
{
    // 32773 = 13 * 2521 is the start; the candidate is 32779.
    EXPECT_EQ("800B", from("8003", 16));
    EXPECT_EQ(1, residues_[1]);    // 32773 = 3 * 10924 + 1
    EXPECT_EQ(3, residues_[2]);    // 5 * 6554 + 3
    EXPECT_EQ(6, residues_[3]);    // 7 * 4681 + 6
    EXPECT_EQ(0, residues_[5]);    // 13
    EXPECT_EQ(118, residues_[63]); // 311 * 105 + 118
}

TEST_F(NextCandidate, IgnoresAllOtherBitsOfTheMode)
{
    EXPECT_EQ("800B", from("8003", 16, modeFromBase | ~3));
    EXPECT_EQ("A7", from("0", 8, modeFromBase | modeSafe | ~3));
}

TEST_F(NextCandidate, LeavesTheNumberAloneForANegativeSize)
{
    const BigNumber candidate = fromHex("1234");
    EXPECT_EQ(0, nextCandidate(candidate.get(), -1, modeFromBase, residues_.data(),
                               context_.get()));
    EXPECT_EQ("1234", toHex(candidate.get()));
}

TEST_F(NextCandidate, FailsForASizeOfZero)
{
    const BigNumber candidate = fromHex("1234");
    EXPECT_EQ(0, nextCandidate(candidate.get(), 0, modeFromBase, residues_.data(),
                               context_.get()));
}
