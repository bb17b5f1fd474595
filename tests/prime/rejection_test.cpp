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
            const int before = uses(Way::twoAtOnce);
            ASSERT_NE(prime,
                      isProvenComposite(rejection, sieve, candidate.get(), context.get()))
                << toHex(candidate.get());
            // What takes two numbers at once is not used, or noted, for one.
            const int noted = uses(Way::twoAtOnce) - before;
            ASSERT_TRUE(noted == 0 || noted == 2) << noted;
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

// What a library call that failed left untold is no proof.
TEST_P(Rejections, ProveNothingWithoutTheirMemory)
{
    const int mode = modeFromBase | modeSafe;
    SearchSieve sieve = makeSearchSieve(512, planSieve(512, mode));
    Rejection none;
    none.ahead.reset(BN_new());
    const BigNumber candidate = fromHex(oracle::randomNumber(512, 5));
    const BigNumber half(BN_new());
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(1, nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                         context.get()));
        EXPECT_FALSE(isProvenComposite(none, sieve, candidate.get(), context.get()));
        EXPECT_FALSE(isHalfProvenComposite(none, sieve, candidate.get(), half.get(),
                                           context.get()));
    }
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

// Of a later candidate that the sieve then crosses off, the verdict is never asked for.
// It must not be taken for that of a prime as far from the sieve's next start.
TEST(RejectionsByTwoAtOnce, RememberNothingOfTheStartBefore)
{
    const Context context = newContext();
    std::array<std::uint16_t, smallPrimeCount> residues{};
    SearchSieve sieve = makeSearchSieve(512, planSieve(512, modeFromBase));
    const BigNumber candidate(BN_new());
    const auto startAbove = [&](const std::string& base) {
        BN_copy(candidate.get(), fromHex(base).get());
        sieve.start.reset();
        EXPECT_EQ(1, nextSievedCandidate(sieve, candidate.get(), modeFromBase,
                                         residues.data(), context.get()));
    };
    int compared = 0;
    for (std::uint32_t seed = 1; seed <= 100; ++seed) {
        Rejection rejection = makeRejection(sieve);
        startAbove(oracle::randomNumber(512, seed));
        const long distance = 2 * static_cast<long>(stepsToNextUnknown(sieve));
        fakeWay = Way::twoAtOnce;
        isProvenComposite(rejection, sieve, candidate.get(), context.get());

        const std::string prime =
            oracle::firstPrime(oracle::randomNumber(512, seed + 100), {512, false});
        const std::string start = oracle::sum(prime, -distance);
        startAbove(oracle::sum(start, -2));
        if (distance == 0 || toHex(candidate.get()) != start)
            continue;
        while (toHex(candidate.get()) != prime)
            ASSERT_EQ(1, nextSievedCandidate(sieve, candidate.get(), modeFromBase,
                                             residues.data(), context.get()));
        fakeWay = Way::squarings;
        ASSERT_FALSE(isProvenComposite(rejection, sieve, candidate.get(), context.get()));
        ++compared;
    }
    EXPECT_GT(compared, 5);
}

INSTANTIATE_TEST_SUITE_P(Ways, Rejections,
                         testing::Values(Way::slidingWindow, Way::constantTime,
                                         Way::twoAtOnce, Way::squarings));

} // namespace
