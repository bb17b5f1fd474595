// The sieve of a search when memory runs out.
#include "prime/search_sieve.h"

#include "prime/candidate_sieve.h"
#include "prime/sieve_primes.h"
#include "tests/fakes/array_memory.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>
#include <iostream>

namespace
{

constexpr int bits = 264;
constexpr int mode = modeFromBase | modeSafe;

class SieveWithoutMemory : public testing::Test
{
protected:
    ~SieveWithoutMemory() override
    {
        failCryptoAllocation(-1);
        arrayAllocationFails = false;
    }

    int next(SearchSieve& sieve)
    {
        return nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                   context.get());
    }

    Context context = newContext();
    BigNumber candidate = fromHex(oracle::randomNumber(bits, 8));
    std::array<std::uint16_t, smallPrimeCount> residues{};
};

TEST_F(SieveWithoutMemory, IsIdleWithoutItsArrays)
{
    arrayAllocationFails = true;
    SearchSieve sieve = makeSearchSieve(bits, mode);
    arrayAllocationFails = false;
    EXPECT_EQ(0U, sieve.windowLength);
    ASSERT_EQ(1, next(sieve));
    sieveSlice(sieve, context.get());
    EXPECT_FALSE(sieve.start);
    EXPECT_FALSE(knowsFactor(sieve));
}

TEST_F(SieveWithoutMemory, IsIdleWithoutItsNumbers)
{
    settleCryptoMemory();
    failCryptoAllocation(0);
    SearchSieve sieve = makeSearchSieve(bits, mode);
    failCryptoAllocation(-1);
    EXPECT_EQ(0U, sieve.windowLength);
    EXPECT_EQ(1, next(sieve));
}

// A block that memory had no room for stays away, and the places of those behind it
// are not mistaken.
TEST_F(SieveWithoutMemory, KnowsNoPrimeBehindABlockThatIsMissing)
{
    arrayAllocationFails = true;
    EXPECT_TRUE(sievePrimes(1).empty());
    arrayAllocationFails = false;
    EXPECT_TRUE(sievePrimes(1).empty());
    EXPECT_FALSE(sievePrimes(2).empty());

    SearchSieve sieve = makeSearchSieve(bits, mode);
    ASSERT_EQ(1, next(sieve));
    for (int i = 0; i < 100; ++i)
        sieveSlice(sieve, context.get());
    EXPECT_EQ(sievePrimes(0).size(), sieve.crossed);
    EXPECT_LT(sieve.crossed, sieve.primeCount);
}

// Each allocation of the library in turn: the sieve may know less, and tells nothing
// that is not so.
TEST_F(SieveWithoutMemory, SurvivesTheFailureOfEachAllocation)
{
    settleCryptoMemory();
    const std::string base = toHex(candidate.get());
    int failures = 0;
    int known = 0;
    for (bool struck = true; struck; ++failures) {
        candidate = fromHex(base);
        context = newContext();
        const BigNumber plain = fromHex(base);
        SearchSieve sieve = makeSearchSieve(bits, mode);
        bool found = true;
        failCryptoAllocation(failures);
        for (int i = 0; i < 12 && found; ++i) {
            found = next(sieve) == 1;
            if (found) {
                sieveSlice(sieve, context.get());
                known += knowsFactor(sieve) ? 1 : 0;
            }
        }
        struck = cryptoAllocations() > failures;
        failCryptoAllocation(-1);
        // What stands in the candidate after a success is the plain sieve's.
        bool met = !found;
        for (int i = 0; i < 12 && !met; ++i) {
            ASSERT_EQ(1, nextCandidate(plain.get(), bits, mode, residues.data(),
                                       context.get()));
            met = BN_cmp(plain.get(), candidate.get()) == 0;
        }
        ASSERT_TRUE(met) << "fault " << failures;
    }
    std::cout << failures << " allocations failed in turn\n";
    EXPECT_GT(failures, 5);
    EXPECT_GT(known, 0);
}

} // namespace
