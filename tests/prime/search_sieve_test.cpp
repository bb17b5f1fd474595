#include "prime/search_sieve.h"

#include "prime/candidate_sieve.h"
#include "prime/shortcuts.h"
#include "prime/sieve_primes.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace
{

constexpr int bits = 256;

class SieveOfASearch : public testing::Test
{
protected:
    ~SieveOfASearch() override
    {
        shortcutsEnabled = true;
        eventsUnwatched = false;
    }

    int next(SearchSieve& sieve, int mode)
    {
        return nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                   context.get());
    }

    void crossOffAll(SearchSieve& sieve)
    {
        for (std::size_t before = 0; before != sieve.crossed;) {
            before = sieve.crossed;
            sieveSlice(sieve, context.get());
        }
    }

    // Whether one of the sieve's first `count` primes divides the number.
    static bool hasFactor(const BIGNUM* number, std::size_t count)
    {
        for (std::size_t block = 0, seen = 0;; ++block)
            for (const std::uint32_t prime : sievePrimes(block)) {
                if (seen++ == count)
                    return false;
                if (BN_mod_word(number, prime) == 0)
                    return true;
            }
    }

    // Holds what the sieve knows against trial division, through several windows,
    // each crossed off whole at its beginning.
    void checkFactors(int mode)
    {
        SearchSieve sieve = makeSearchSieve(bits, mode);
        const BigNumber half(BN_new());
        std::uint32_t windowsSeen = 0;
        int known = 0;
        for (int i = 0; i < 350; ++i) {
            ASSERT_EQ(1, next(sieve, mode));
            ASSERT_TRUE(sieve.start);
            windowsSeen = sieve.windowStart / sieve.windowLength;
            crossOffAll(sieve);
            ASSERT_EQ(sieve.primeCount, sieve.crossed);
            bool expected = hasFactor(candidate.get(), sieve.primeCount);
            if (sieve.halves && !expected) {
                BN_rshift1(half.get(), candidate.get());
                expected = hasFactor(half.get(), sieve.primeCount);
            }
            ASSERT_EQ(expected, knowsFactor(sieve)) << toHex(candidate.get());
            known += expected ? 1 : 0;
        }
        EXPECT_GE(windowsSeen, 1U);
        EXPECT_GT(known, 50);
        EXPECT_LT(known, 340);
    }

    Context context = newContext();
    BigNumber candidate = fromHex(oracle::randomNumber(bits, 5));
    std::array<std::uint16_t, smallPrimeCount> residues{};
};

TEST_F(SieveOfASearch, YieldsTheCandidatesOfThePlainSieve)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
        SearchSieve sieve = makeSearchSieve(bits, mode);
        const BigNumber plain(BN_dup(candidate.get()));
        for (int i = 0; i < 700; ++i) {
            ASSERT_EQ(1, next(sieve, mode));
            ASSERT_EQ(1, nextCandidate(plain.get(), bits, mode, residues.data(),
                                       context.get()));
            ASSERT_EQ(toHex(plain.get()), toHex(candidate.get())) << i;
        }
        // Several windows were needed for it, and the plain sieve for none.
        EXPECT_GT(sieve.windowStart, 2 * sieve.windowLength);
    }
}

TEST_F(SieveOfASearch, KnowsAllFactorsOfAPrimesCandidates)
{
    checkFactors(modeFromBase);
}

TEST_F(SieveOfASearch, KnowsAllFactorsOfASafePrimesCandidates)
{
    checkFactors(modeFromBase | modeSafe);
}

TEST_F(SieveOfASearch, KnowsTheFactorsOfTheHalvesTooWhenNobodySeesTheEvents)
{
    eventsUnwatched = true;
    checkFactors(modeFromBase | modeSafe);
}

TEST_F(SieveOfASearch, LearnsNoMoreThanASlice)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(bits, mode);
    ASSERT_EQ(1, next(sieve, mode));
    EXPECT_EQ(sieve.smallCount, sieve.known);
    sieveSlice(sieve, context.get());
    EXPECT_EQ(sieve.smallCount + sieve.sliceLength, sieve.known);
}

TEST_F(SieveOfASearch, FindsWhatItLearnedAgainInTheNextWindow)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(bits, mode);
    while (sieve.windowStart == 0) {
        ASSERT_EQ(1, next(sieve, mode));
        if (sieve.windowStart == 0)
            crossOffAll(sieve);
    }
    EXPECT_EQ(sieve.primeCount, sieve.known);
    EXPECT_EQ(sieve.smallCount, sieve.crossed);
    sieveSlice(sieve, context.get());
    EXPECT_GT(sieve.crossed, sieve.smallCount + sieve.sliceLength);
}

// Windows that end before their slices do: what was learned in one stands beside
// what is fresh in the next.
TEST_F(SieveOfASearch, KnowsTheFactorsOfTheSlicesThatItHadTimeFor)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(bits, mode);
    for (int i = 0; i < 900; ++i) {
        ASSERT_EQ(1, next(sieve, mode));
        if (i % 13 == 0)
            sieveSlice(sieve, context.get());
        ASSERT_EQ(hasFactor(candidate.get(), std::max(sieve.crossed, sieve.smallCount)),
                  knowsFactor(sieve))
            << i;
    }
    EXPECT_GT(sieve.windowStart, 5 * sieve.windowLength);
    EXPECT_GT(sieve.known, sieve.smallCount + 10 * sieve.sliceLength);
}

TEST_F(SieveOfASearch, GoesOnAtTheBottomBehindTheTop)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe})
        for (const long below : {1L, 900L, 9000L, 30000L}) {
            candidate = fromHex(oracle::powerOfTwo(bits, -below));
            const BigNumber plain(BN_dup(candidate.get()));
            SearchSieve sieve = makeSearchSieve(bits, mode);
            for (int i = 0; i < 3500; ++i) {
                ASSERT_EQ(1, next(sieve, mode));
                ASSERT_EQ(1, nextCandidate(plain.get(), bits, mode, residues.data(),
                                           context.get()));
                ASSERT_EQ(0, BN_cmp(plain.get(), candidate.get())) << below << ", " << i;
            }
            EXPECT_FALSE(BN_is_bit_set(candidate.get(), bits - 2)) << below;
        }
}

// A place that no search reaches, just before indices would outgrow their words.
TEST_F(SieveOfASearch, StartsOverWhereIndicesEnd)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(bits, mode);
    ASSERT_EQ(1, next(sieve, mode));
    const std::uint32_t place = (std::uint32_t{1} << 30) - 3 * sieve.windowLength;
    sieve.windowStart = place;
    sieve.position = sieve.windowLength - 1;
    sieve.known = 0;
    candidate.reset(BN_dup(sieve.start.get()));
    BN_add_word(candidate.get(), (std::uint64_t{place} + sieve.position) * sieve.step);

    const BigNumber plain(BN_dup(candidate.get()));
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(1, next(sieve, mode));
        ASSERT_EQ(1,
                  nextCandidate(plain.get(), bits, mode, residues.data(), context.get()));
        ASSERT_EQ(toHex(plain.get()), toHex(candidate.get())) << i;
        ASSERT_LE(sieve.windowStart, place + 2 * sieve.windowLength);
    }
    EXPECT_LT(sieve.windowStart, place);
}

struct Idle {
    int bits;
    int mode;
    bool enabled;
};

class IdleSieve : public SieveOfASearch, public testing::WithParamInterface<Idle>
{
};

TEST_P(IdleSieve, KnowsNothing)
{
    shortcutsEnabled = GetParam().enabled;
    SearchSieve sieve = makeSearchSieve(GetParam().bits, GetParam().mode);
    candidate = fromHex(oracle::randomNumber(GetParam().bits, 6));
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(1, next(sieve, GetParam().mode));
        sieveSlice(sieve, context.get());
        ASSERT_FALSE(sieve.start);
        ASSERT_FALSE(knowsFactor(sieve));
    }
}

INSTANTIATE_TEST_SUITE_P(Reasons, IdleSieve,
                         testing::Values(Idle{248, modeFromBase, true},
                                         Idle{248, modeFromBase | modeSafe, true},
                                         Idle{256, 0, true}, Idle{256, modeSafe, true},
                                         Idle{256, modeFromBase, false}));

// Every size has a plan that the primes suffice for, and no worker takes more than
// 64 MiB: the table of primes, which all share, counts once.
TEST(SievePlans, KeepWithinTheMemoryOfAWorker)
{
    std::size_t primes = 0;
    for (std::size_t block = 0; block < sieveBlockLimit; ++block)
        primes += sievePrimes(block).size();
    for (int size = 256; size <= 16384; size += 128)
        for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
            const SearchSieve sieve = makeSearchSieve(size, mode);
            EXPECT_GT(sieve.primeCount, sieve.smallCount) << size;
            EXPECT_LT(sieve.primeCount, primes) << size;
            EXPECT_EQ(0U, sieve.windowLength % 64) << size;
            const std::size_t bytes =
                2 * sieve.primeCount * sizeof(std::uint32_t) + sieve.windowLength / 4;
            EXPECT_LT(bytes, std::size_t{48} << 20) << size;
        }
}

} // namespace
