#include "search/search_state.h"

#include "prime/base_bits.h"
#include "prime/small_primes.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/fakes/tracked_lock.h"
#include "tests/support/big.h"
#include "tests/support/shared_state.h"

#include <string>
#include <vector>

namespace
{

class SearchState : public SharedStateTest
{
protected:
    SearchState()
    {
        fakeAcquisitions.clear();
    }

    ~SearchState() override
    {
        const auto nothing = [] {
        };
        fakeAcquired = fakeReleasing = nothing;
    }

    void install(const char* base, std::int32_t bits)
    {
        setBase(lock, fromHex(base).release(), bits);
    }

    // A base whose windows lie that far apart.
    void windowsOf(const char* base, std::uint64_t distance)
    {
        sharedBase = fromHex(base).release();
        maxDelta = distance;
    }

    std::string nextBase()
    {
        return toHex(BigNumber(getNextBase(lock)).get());
    }

    TrackedLock lock;
};

TEST_F(SearchState, TakesTheBaseOver)
{
    BIGNUM* base = fromHex("1234").release();
    setBase(lock, base, 16);
    EXPECT_EQ(base, sharedBase);
    EXPECT_EQ("1234", toHex(sharedBase));
}

TEST_F(SearchState, TakesTheBitsAsTheyAreGiven)
{
    install("FF", 24);
    EXPECT_EQ(24, baseBits);
}

TEST_F(SearchState, InstallsTheBaseUnderItsTag)
{
    install("FF", 8);
    EXPECT_EQ((std::vector<Acquisition>{{L"setBase", 213}}), fakeAcquisitions);
}

TEST_F(SearchState, InstallsAllOfASearchInsideTheLock)
{
    install("FF", 8);
    fakeAcquired = [] {
        EXPECT_EQ(8, baseBits);
        EXPECT_EQ("FF", toHex(sharedBase));
        EXPECT_EQ(maxDeltaFor(8), maxDelta);
        BN_free(sharedBase);
    };
    fakeReleasing = [] {
        EXPECT_EQ(1024, baseBits);
        EXPECT_EQ("ABCD", toHex(sharedBase));
        EXPECT_EQ(maxDeltaFor(1024), maxDelta);
    };
    setBase(lock, fromHex("ABCD").release(), 1024);
}

TEST_F(SearchState, HandsOneWindowMoreOutEachTime)
{
    windowsOf("1'0000'0000'0000'0000", 0xFFFFFFFFFFFFFEC8);
    EXPECT_EQ("1FFFFFFFFFFFFFEC8", nextBase());
    EXPECT_EQ("2FFFFFFFFFFFFFD90", nextBase());
    EXPECT_EQ("3FFFFFFFFFFFFFC58", nextBase());
    EXPECT_EQ("3FFFFFFFFFFFFFC58", toHex(sharedBase));
}

TEST_F(SearchState, HandsACopyOutThatIsTheCallersOwn)
{
    windowsOf("0", 0x1000);
    const BigNumber copy(getNextBase(lock));
    ASSERT_NE(copy.get(), sharedBase);
    BN_zero(copy.get());
    EXPECT_EQ("1000", toHex(sharedBase));
}

TEST_F(SearchState, CopiesTheSignToo)
{
    windowsOf("-3000", 0x1000);
    const BigNumber copy(getNextBase(lock));
    EXPECT_EQ("-2000", toHex(copy.get()));
}

TEST_F(SearchState, AdvancesAndCopiesInsideTheLock)
{
    windowsOf("0", 0x1000);
    std::string before;
    std::string after;
    fakeAcquired = [&] {
        before = toHex(sharedBase);
    };
    fakeReleasing = [&] {
        after = toHex(sharedBase);
        // A copy made later would be of this number.
        BN_zero(sharedBase);
    };
    EXPECT_EQ("1000", nextBase());
    EXPECT_EQ("0", before);
    EXPECT_EQ("1000", after);
    EXPECT_EQ((std::vector<Acquisition>{{L"getNextBase", 221}}), fakeAcquisitions);
}

TEST_F(SearchState, HasNoResultAtFirst)
{
    EXPECT_EQ(nullptr, resultPrime.load());
}

TEST_F(SearchState, PublishesACopyOfThePrime)
{
    const BigNumber prime = fromHex("FFFFFFFFFFFFFFC5");
    setPrime(lock, prime.get());
    ASSERT_NE(prime.get(), resultPrime.load());
    EXPECT_EQ("FFFFFFFFFFFFFFC5", toHex(resultPrime));
    EXPECT_EQ("FFFFFFFFFFFFFFC5", toHex(prime.get()));
}

TEST_F(SearchState, LetsTheLastPrimePublishedWinAndFreesNoEarlierOne)
{
    setPrime(lock, fromHex("65").get());
    const BigNumber dropped(resultPrime.load());
    setPrime(lock, fromHex("67").get());
    EXPECT_EQ("67", toHex(resultPrime));
    EXPECT_EQ("65", toHex(dropped.get()));
}

TEST_F(SearchState, WipesAnEarlierResultWhenThePrimeCannotBeCopied)
{
    const BigNumber prime = fromHex("67");
    for (const int allocation : {0, 1}) {
        setPrime(lock, fromHex("65").get());
        const BigNumber dropped(resultPrime.load());
        failCryptoAllocation(allocation);
        setPrime(lock, prime.get());
        failCryptoAllocation(-1);
        EXPECT_EQ(nullptr, resultPrime.load());
    }
}

TEST_F(SearchState, HandsNothingOutWhenTheBaseCannotBeCopied)
{
    windowsOf("1'0000'0000'0000'0000", 0x1000);
    for (const int allocation : {0, 1}) {
        failCryptoAllocation(allocation);
        EXPECT_EQ(nullptr, getNextBase(lock));
        failCryptoAllocation(-1);
    }
    // Both windows are gone all the same.
    EXPECT_EQ("10000000000003000", nextBase());
}

TEST_F(SearchState, HandsTheBaseOutEvenWhenItCannotBeAdvanced)
{
    // The sum needs a second word.
    install("FFFFFFFFFFFFFFFF", 64);
    failCryptoAllocation(0);
    const BigNumber copy(getNextBase(lock));
    failCryptoAllocation(-1);
    EXPECT_NE(nullptr, copy);
}

TEST_F(SearchState, PublishesInsideTheLock)
{
    bool publishedBefore = true;
    bool publishedAtEnd = false;
    fakeAcquired = [&] {
        publishedBefore = resultPrime != nullptr;
    };
    fakeReleasing = [&] {
        publishedAtEnd = resultPrime != nullptr;
    };
    setPrime(lock, fromHex("65").get());
    EXPECT_FALSE(publishedBefore);
    EXPECT_TRUE(publishedAtEnd);
    EXPECT_EQ((std::vector<Acquisition>{{L"setPrime", 207}}), fakeAcquisitions);
}

} // namespace
