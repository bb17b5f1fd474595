#include "prime/rejection.h"

#include "prime/candidate_sieve.h"
#include "tests/fakes/exponentiation_way.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <array>
#include <gtest/gtest.h>

namespace
{

using Way = ExponentiationWay;

class Rejections : public testing::TestWithParam<Way>
{
protected:
    Rejections()
    {
        fakeWay = GetParam();
        for (auto& uses : fakeWayUses)
            uses = 0;
    }

    int uses(Way way) const
    {
        return fakeWayUses[static_cast<std::size_t>(way)];
    }

    // Of so many candidates exactly the primes are left.
    void checkCandidates(int bits, const SievePlan& plan, int mode, int count)
    {
        SearchSieve sieve = makeSearchSieve(bits, plan);
        Rejection rejection = makeRejection(sieve);
        const BigNumber candidate = fromHex(oracle::randomNumber(bits, 5));
        int left = 0;
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(1, nextSievedCandidate(sieve, candidate.get(), mode,
                                             residues.data(), context.get()));
            if (i % 3 == 0)
                sieveSlice(sieve);
            const bool prime = isPrime(toHex(candidate.get()), false);
            if (knowsFactor(sieve)) {
                ASSERT_FALSE(prime);
                continue;
            }
            ASSERT_NE(prime,
                      isProvenComposite(rejection, sieve, candidate.get(), context.get()))
                << toHex(candidate.get());
            left += prime ? 1 : 0;
        }
        EXPECT_GT(left, 0);
    }

    Context context = newContext();
    std::array<std::uint16_t, smallPrimeCount> residues{};
};

TEST_P(Rejections, LeaveThePrimesOfASearchAlone)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe})
        checkCandidates(512, planSieve(512, mode), mode, 200);
    EXPECT_GT(uses(GetParam()), 100);
}

// Segments so short that often no later candidate is left in them.
TEST_P(Rejections, RememberNothingAcrossStarts)
{
    for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
        SievePlan plan = planSieve(512, mode);
        plan.segmentLength = 64;
        plan.reach = 128;
        checkCandidates(512, plan, mode, 300);
    }
}

TEST_P(Rejections, MakeNoTestBelow512BitsAndWithoutASieve)
{
    for (const auto& [bits, mode] : {std::pair{256, modeFromBase}, std::pair{512, 0}}) {
        SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, mode));
        Rejection rejection = makeRejection(sieve);
        const BigNumber candidate = fromHex(oracle::randomNumber(bits, 5));
        for (int i = 0; i < 20; ++i) {
            ASSERT_EQ(1, nextSievedCandidate(sieve, candidate.get(), mode,
                                             residues.data(), context.get()));
            EXPECT_FALSE(
                isProvenComposite(rejection, sieve, candidate.get(), context.get()));
        }
    }
    EXPECT_EQ(0, uses(GetParam()));
}

TEST_P(Rejections, ProveHalvesCompositeToo)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(512, planSieve(512, mode));
    const Rejection rejection = makeRejection(sieve);
    const BigNumber candidate = fromHex(oracle::randomNumber(512, 5));
    ASSERT_EQ(1, nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                     context.get()));
    const BigNumber p =
        fromHex(oracle::firstPrime(oracle::randomNumber(511, 3), {511, false}));
    const BigNumber half(BN_new());
    BN_lshift1(candidate.get(), p.get());
    BN_add_word(candidate.get(), 1);
    EXPECT_FALSE(isHalfProvenComposite(rejection, sieve, candidate.get(), half.get(),
                                       context.get()));
    EXPECT_EQ(toHex(p.get()), toHex(half.get()));
    BN_mul_word(p.get(), 3);
    BN_lshift1(candidate.get(), p.get());
    BN_add_word(candidate.get(), 1);
    EXPECT_TRUE(isHalfProvenComposite(rejection, sieve, candidate.get(), half.get(),
                                      context.get()));
}

INSTANTIATE_TEST_SUITE_P(Ways, Rejections,
                         testing::Values(Way::slidingWindow, Way::constantTime,
                                         Way::twoAtOnce, Way::squarings));

} // namespace
