// The primes that searches find against those that GMP finds.
#include "prime/prime_generation.h"

#include "tests/fakes/random_bytes.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>
#include <random>

namespace
{

// Bytes of a good generator with a fixed seed: at small sizes those of the clocks
// repeat too much for a verdict that never errs.
void useRepeatableBytes(std::uint32_t seed)
{
    fakeRandomBytes = [generator = std::mt19937(seed)](std::uint8_t* buffer,
                                                       std::int32_t count) mutable {
        std::generate_n(buffer, count, [&generator] {
            return static_cast<std::uint8_t>(generator() >> 24);
        });
        return count;
    };
}

std::string find(const std::string& base, const oracle::Search& search)
{
    const SearchSize size(search.bits);
    const Context context = newContext();
    const BigNumber candidate = fromHex(base);
    const int mode = search.safe ? modeFromBase | modeSafe : modeFromBase;
    EXPECT_EQ(1, generatePrime(candidate.get(), 0, mode, nullptr, nullptr, nullptr,
                               context.get()));
    EXPECT_EQ(search.bits, BN_num_bits(candidate.get()));
    return toHex(candidate.get());
}

// A size, and how many bases of it are searched from.
struct Row {
    int bits;
    std::uint32_t bases;
};

std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.bases << " bases of " << row.bits << " bits";
}

class FoundPrime : public testing::TestWithParam<Row>
{
protected:
    void SetUp() override
    {
        useRepeatableBytes(static_cast<std::uint32_t>(GetParam().bits));
    }

    static void compareRandomBases(bool safe)
    {
        const auto [bits, bases] = GetParam();
        for (std::uint32_t seed = 1; seed <= bases; ++seed) {
            const std::string base = oracle::randomNumber(bits, seed);
            ASSERT_EQ(oracle::firstPrime(base, {bits, safe}), find(base, {bits, safe}))
                << bits << " bits above " << base;
        }
    }

    // Bases within some 1.5 gaps between primes of the top.
    static void compareBasesNearTheTop(bool safe)
    {
        const auto [bits, bases] = GetParam();
        std::mt19937 generator(bases);
        for (std::uint32_t i = 0; i < bases; ++i) {
            const long below = 1 + static_cast<long>(generator() % 16384) * bits / 16384;
            const std::string base =
                oracle::powerOfTwo(bits, -(i < 5 ? static_cast<long>(i) + 1 : below));
            ASSERT_EQ(oracle::firstPrime(base, {bits, safe}), find(base, {bits, safe}))
                << bits << " bits above " << base;
        }
    }
};

using FoundSafePrime = FoundPrime;

std::string sizeOf(const testing::TestParamInfo<Row>& row)
{
    return std::to_string(row.param.bits) + "Bits";
}

} // namespace

TEST_P(FoundPrime, IsTheFirstAboveItsBase)
{
    compareRandomBases(false);
}

TEST_P(FoundPrime, ComesFromTheBottomWhenThereIsNoneUpToTheTop)
{
    compareBasesNearTheTop(false);
}

TEST_P(FoundSafePrime, IsTheFirstAboveItsBase)
{
    compareRandomBases(true);
}

TEST_P(FoundSafePrime, ComesFromTheBottomWhenThereIsNoneUpToTheTop)
{
    compareBasesNearTheTop(true);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FoundPrime,
                         testing::Values(Row{8, 256}, Row{16, 200}, Row{24, 100},
                                         Row{31, 60}, Row{32, 60}, Row{33, 60},
                                         Row{64, 40}, Row{128, 20}, Row{256, 10},
                                         Row{512, 6}, Row{513, 4}, Row{1024, 4}),
                         sizeOf);

INSTANTIATE_TEST_SUITE_P(Sizes, FoundSafePrime,
                         testing::Values(Row{8, 256}, Row{16, 100}, Row{24, 60},
                                         Row{31, 40}, Row{32, 40}, Row{33, 40},
                                         Row{64, 20}, Row{128, 8}, Row{256, 3}),
                         sizeOf);

TEST(FoundPrimeOfOneByte, IsTheFirstAboveEveryBase)
{
    useRepeatableBytes(1);
    for (BN_ULONG base = 0; base < 256; ++base) {
        const std::string digits = toHex(fromWord(base).get());
        ASSERT_EQ(oracle::firstPrime(digits, {8, false}), find(digits, {8, false}))
            << base;
        ASSERT_EQ(oracle::firstPrime(digits, {8, true}), find(digits, {8, true})) << base;
    }
}

TEST(FoundPrimeOfManyBits, IsTheFirstSafeOneOf512Bits)
{
    useRepeatableBytes(1);
    for (const std::uint32_t seed : {1U, 2U, 3U}) {
        const std::string base = oracle::randomNumber(512, seed);
        EXPECT_EQ(oracle::firstPrime(base, {512, true}), find(base, {512, true}));
    }
}

TEST(FoundPrimeOfManyBits, IsTheFirstSafeOneOf1024Bits)
{
    useRepeatableBytes(1);
    // Two bases with a safe prime not too far above them.
    for (const std::uint32_t seed : {1U, 5U}) {
        const std::string base = oracle::randomNumber(1024, seed);
        EXPECT_EQ(oracle::firstPrime(base, {1024, true}), find(base, {1024, true}));
    }
}
