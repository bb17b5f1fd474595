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
        eventsUnwatched = false;
    }

    int next(SearchSieve& sieve, int mode)
    {
        return nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                   context.get());
    }

    void crossOffAll(SearchSieve& sieve)
    {
        for (std::size_t before = 0; before != sieve.larger.passed;) {
            before = sieve.larger.passed;
            sieveSlice(sieve);
        }
    }

    // Takes so many candidates from both sieves.
    void compareWithThePlainSieve(SearchSieve& sieve, int mode, int count)
    {
        const BigNumber plain(BN_dup(candidate.get()));
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(1, next(sieve, mode));
            ASSERT_EQ(1, nextCandidate(plain.get(), bits, mode, residues.data(),
                                       context.get()));
            ASSERT_EQ(toHex(plain.get()), toHex(candidate.get())) << i;
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

    // Checks what the sieve knows against trial division, through several segments.
    // The multiples of the larger primes are crossed off at the start of each reach.
    void checkFactors(int mode)
    {
        SievePlan plan = planSieve(bits, mode);
        plan.segmentLength = 256;
        plan.reach = 2048;
        SearchSieve sieve = makeSearchSieve(bits, plan);
        const BigNumber half(BN_new());
        int segments = 0;
        int startsOver = 0;
        int known = 0;
        for (int i = 0; i < 700; ++i) {
            const std::uint32_t segment = sieve.rejected.first;
            ASSERT_EQ(1, next(sieve, mode));
            ASSERT_TRUE(sieve.start);
            segments += sieve.rejected.first != segment ? 1 : 0;
            startsOver += sieve.rejected.first < segment ? 1 : 0;
            crossOffAll(sieve);
            ASSERT_EQ(plan.primeCount, sieve.larger.passed);
            bool expected = hasFactor(candidate.get(), plan.primeCount);
            if (plan.halves && !expected) {
                BN_rshift1(half.get(), candidate.get());
                expected = hasFactor(half.get(), plan.primeCount);
            }
            ASSERT_EQ(expected, knowsFactor(sieve)) << toHex(candidate.get());
            known += expected ? 1 : 0;
        }
        EXPECT_GT(segments, 5);
        EXPECT_GT(startsOver, 0);
        EXPECT_GT(known, 100);
        EXPECT_LT(known, 690);
    }

    Context context = newContext();
    BigNumber candidate = fromHex(oracle::randomNumber(bits, 5));
    std::array<std::uint16_t, smallPrimeCount> residues{};
};

TEST_F(SieveOfASearch, YieldsTheCandidatesOfThePlainSieve)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
        SievePlan plan = planSieve(bits, mode);
        plan.segmentLength = 128;
        SearchSieve sieve = makeSearchSieve(bits, plan);
        compareWithThePlainSieve(sieve, mode, 700);
        if (HasFatalFailure())
            return;
        // Several segments were needed for it, and the plain sieve for none.
        EXPECT_GT(sieve.rejected.first, 0U);
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

TEST_F(SieveOfASearch, CrossesOffNoMoreThanASlice)
{
    const int mode = modeFromBase | modeSafe;
    const SievePlan plan = planSieve(bits, mode);
    SearchSieve sieve = makeSearchSieve(bits, plan);
    ASSERT_EQ(1, next(sieve, mode));
    EXPECT_EQ(plan.smallCount, sieve.larger.passed);
    sieveSlice(sieve);
    EXPECT_EQ(plan.smallCount + plan.sliceLength, sieve.larger.passed);
}

TEST_F(SieveOfASearch, CrossesOffASliceOfAnyLength)
{
    SievePlan plan = planSieve(bits, modeFromBase);
    plan.sliceLength = 5 * largerAtOnce - 1;
    plan.primeCount = plan.smallCount + plan.sliceLength;
    SearchSieve sieve = makeSearchSieve(bits, plan);
    ASSERT_EQ(1, next(sieve, modeFromBase));
    sieveSlice(sieve);
    ASSERT_EQ(plan.primeCount, sieve.larger.passed);
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(hasFactor(candidate.get(), plan.primeCount), knowsFactor(sieve)) << i;
        ASSERT_EQ(1, next(sieve, modeFromBase));
    }
}

TEST_F(SieveOfASearch, TellsWhereTheNextCandidateLiesOfWhichItKnowsNoFactor)
{
    SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, modeFromBase));
    ASSERT_EQ(1, next(sieve, modeFromBase));
    crossOffAll(sieve);
    int known = 0;
    for (int i = 0; i < 50; ++i) {
        const std::uint32_t steps = stepsToNextUnknown(sieve);
        ASSERT_GT(steps, 0U);
        const BigNumber unknown(BN_dup(candidate.get()));
        BN_add_word(unknown.get(), std::uint64_t{steps} * sieve.plan.step);
        ASSERT_EQ(1, next(sieve, modeFromBase));
        for (; knowsFactor(sieve); ++known)
            ASSERT_EQ(1, next(sieve, modeFromBase));
        ASSERT_EQ(toHex(unknown.get()), toHex(candidate.get())) << i;
    }
    EXPECT_GT(known, 10);
}

TEST_F(SieveOfASearch, KnowsTheFactorsOfTheSlicesThatItHadTimeFor)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, mode));
    int known = 0;
    for (int i = 0; i < 400; ++i) {
        ASSERT_EQ(1, next(sieve, mode));
        if (i % 13 == 0)
            sieveSlice(sieve);
        const bool expected = hasFactor(candidate.get(), sieve.larger.passed);
        ASSERT_EQ(expected, knowsFactor(sieve)) << i;
        known += expected ? 1 : 0;
    }
    EXPECT_GT(known, 20);
    EXPECT_LT(sieve.larger.passed, sieve.plan.primeCount);
}

TEST_F(SieveOfASearch, WrapsAroundAfterTheTopOfTheSize)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe})
        for (const long below : {1L, 900L, 9000L, 30000L}) {
            candidate = fromHex(oracle::powerOfTwo(bits, -below));
            SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, mode));
            compareWithThePlainSieve(sieve, mode, 3500);
            ASSERT_FALSE(HasFatalFailure()) << below;
            EXPECT_FALSE(BN_is_bit_set(candidate.get(), bits - 2)) << below;
        }
}

TEST_F(SieveOfASearch, StartsOverWhereItsReachEnds)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
        SievePlan plan = planSieve(bits, mode);
        plan.segmentLength = 64;
        plan.reach = 192;
        SearchSieve sieve = makeSearchSieve(bits, plan);
        int startsOver = 0;
        const BigNumber start(BN_new());
        for (int i = 0; i < 100; ++i) {
            compareWithThePlainSieve(sieve, mode, 3);
            ASSERT_FALSE(HasFatalFailure()) << i;
            ASSERT_LT(sieve.index, plan.reach);
            startsOver += BN_cmp(start.get(), sieve.start.get()) != 0 ? 1 : 0;
            BN_copy(start.get(), sieve.start.get());
        }
        EXPECT_GT(startsOver, 5);
    }
}

struct Idle {
    int bits;
    int mode;
};

class IdleSieve : public SieveOfASearch, public testing::WithParamInterface<Idle>
{
};

TEST_P(IdleSieve, KnowsNothing)
{
    SearchSieve sieve =
        makeSearchSieve(GetParam().bits, planSieve(GetParam().bits, GetParam().mode));
    candidate = fromHex(oracle::randomNumber(GetParam().bits, 6));
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(1, next(sieve, GetParam().mode));
        sieveSlice(sieve);
        ASSERT_FALSE(sieve.start);
        ASSERT_FALSE(knowsFactor(sieve));
    }
}

INSTANTIATE_TEST_SUITE_P(Reasons, IdleSieve,
                         testing::Values(Idle{248, modeFromBase},
                                         Idle{248, modeFromBase | modeSafe}, Idle{256, 0},
                                         Idle{256, modeSafe}));

} // namespace
