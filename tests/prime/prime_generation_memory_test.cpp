// Searches whose library runs out of memory once, at each place in turn.
#include "prime/prime_generation.h"

#include "tests/fakes/crypto_memory.h"
#include "tests/prime/engine.h"
#include "tests/prime/random_draws.h"

#include <gtest/gtest.h>
#include <iostream>

namespace
{

// Ends in a prime or in a failure and keeps nothing, whichever allocation of the
// library fails.
void failEachAllocation(const char* base, int bits, int mode, const char* prime)
{
    const SearchSize size(bits);
    settleCryptoMemory();
    const int before = cryptoBlocks();
    int failures = 0;
    for (int fault = 0;; ++fault) {
        ASSERT_EQ(before, cryptoBlocks()) << "before fault " << fault;
        const Context context = newContext();
        const BigNumber candidate = fromHex(base);
        failCryptoAllocation(fault);
        const int found = generatePrime(candidate.get(), 0, mode, nullptr, nullptr,
                                        nullptr, context.get());
        const bool hit = cryptoAllocations() > fault;
        failCryptoAllocation(-1);
        if (!hit) {
            EXPECT_EQ(1, found);
            EXPECT_EQ(prime, toHex(candidate.get()));
            break;
        }
        ++failures;
        // A failure within the primality test reads as not prime: then the search
        // goes on, and finds a later prime.
        if (found == 1) {
            EXPECT_NE(prime, toHex(candidate.get())) << "fault " << fault;
        }
        EXPECT_EQ(1, generatePrime(candidate.get(), 0, mode, nullptr, nullptr, nullptr,
                                   context.get()))
            << "fault " << fault;
    }
    std::cout << failures << " allocations failed in turn\n";
    EXPECT_GT(failures, 5);
}

} // namespace

TEST(PrimeGenerationMemory, SurvivesTheFailureOfEachAllocation)
{
    failEachAllocation("8001", 16, modeFromBase, "8003");
}

TEST(PrimeGenerationMemory, SurvivesTheFailureOfEachAllocationOfASafeSearch)
{
    failEachAllocation("0", 16, modeFromBase | modeSafe, "804B");
}

TEST(PrimeGenerationMemory, FailsWithoutATemporary)
{
    const SearchSize size(16);
    const Context context = newContext();
    const BigNumber candidate = fromHex("8001");
    failCryptoAllocation(0);
    const int found = generatePrime(candidate.get(), 0, modeFromBase, nullptr, nullptr,
                                    nullptr, context.get());
    failCryptoAllocation(-1);
    EXPECT_EQ(0, found);
    EXPECT_EQ("8001", toHex(candidate.get()));
}
