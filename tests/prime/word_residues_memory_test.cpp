// Residues when the library runs out of memory.
#include "prime/word_residues.h"

#include "prime/sieve_primes.h"
#include "prime/small_primes.h"
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

// The library makes no copy of the number, which it would not wipe.
TEST_F(ResiduesWithoutMemory, OfSmallPrimesNeedNone)
{
    failCryptoAllocation(0);
    EXPECT_TRUE(
        computeWordResidues<std::uint16_t>(number.get(), smallPrimes, table.data()));
    EXPECT_EQ(0, cryptoAllocations());
}

TEST_F(ResiduesWithoutMemory, OfLargerPrimesFail)
{
    failCryptoAllocation(0);
    EXPECT_FALSE(computeGroupResidues(number.get(), sievePrimes(1).first(100),
                                      residues.data(), scratch, context.get()));
}

} // namespace
