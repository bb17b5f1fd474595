// Residues when the library runs out of memory.
#include "prime/word_residues.h"

#include "prime/candidate_sieve.h"
#include "prime/sieve_primes.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>

namespace
{

class ResiduesWithoutMemory : public testing::Test
{
protected:
    ResiduesWithoutMemory()
    {
        settleCryptoMemory();
        failCryptoAllocation(0);
    }
    ~ResiduesWithoutMemory() override
    {
        failCryptoAllocation(-1);
    }

    BigNumber number = fromHex(oracle::randomNumber(512, 3));
    ResidueScratch scratch{BigNumber(BN_new()), SecretNumber(BN_new())};
    Context context = newContext();
    std::array<std::uint16_t, smallPrimeCount> table{};
    std::array<std::uint32_t, 100> residues{};
};

TEST_F(ResiduesWithoutMemory, OfSmallPrimesFail)
{
    failCryptoAllocation(0);
    EXPECT_FALSE(
        computeWordResidues<std::uint16_t>(number.get(), smallPrimes, table.data()));
}

TEST_F(ResiduesWithoutMemory, OfLargerPrimesFail)
{
    failCryptoAllocation(0);
    EXPECT_FALSE(computeGroupResidues(number.get(), sievePrimes(1).first(100),
                                      residues.data(), scratch, context.get()));
}

// The copy that the library makes for each division is the only block wanted.
TEST_F(ResiduesWithoutMemory, EndTheSearchForACandidate)
{
    const BigNumber candidate = fromHex(oracle::randomNumber(512, 4));
    failCryptoAllocation(-1);
    ASSERT_EQ(1, nextCandidate(candidate.get(), 512, modeFromBase, table.data(),
                               context.get()));
    const int needed = cryptoAllocations();
    ASSERT_GT(needed, 1);
    failCryptoAllocation(needed - 1);
    EXPECT_EQ(0, nextCandidate(candidate.get(), 512, modeFromBase, table.data(),
                               context.get()));
}

} // namespace
