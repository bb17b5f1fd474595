#include "search/search_state.h"

#include "prime/base_bits.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/fakes/tracked_lock.h"
#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace
{

class SearchState : public testing::Test
{
public:
    SearchState(const SearchState&) = delete;
    SearchState& operator=(const SearchState&) = delete;

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
        BN_free(sharedBase);
        sharedBase = nullptr;
        BN_free(resultPrime.exchange(nullptr));
    }

    void install(const char* base, std::int32_t bits)
    {
        BN_free(sharedBase);
        setBase(lock, fromHex(base).release(), bits);
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
        EXPECT_EQ(0xFFFFFFFFFFFFFEC8U, maxDelta);
        BN_free(sharedBase);
    };
    fakeReleasing = [] {
        EXPECT_EQ(1024, baseBits);
        EXPECT_EQ("ABCD", toHex(sharedBase));
        EXPECT_EQ(0xFFFFFFFFFFFFFD30U, maxDelta);
    };
    setBase(lock, fromHex("ABCD").release(), 1024);
}

// Bits, and the window size that goes with them.
using WindowSize = std::pair<std::int32_t, std::uint64_t>;

class WindowSizes : public SearchState, public testing::WithParamInterface<WindowSize>
{
};

TEST_P(WindowSizes, FollowTheBits)
{
    install("1", GetParam().first);
    EXPECT_EQ(GetParam().second, maxDelta);
}

INSTANTIATE_TEST_SUITE_P(SearchState, WindowSizes,
                         testing::Values(WindowSize{8, 0xFFFFFFFFFFFFFEC8},
                                         WindowSize{512, 0xFFFFFFFFFFFFFEC8},
                                         WindowSize{513, 0xFFFFFFFFFFFFFD30},
                                         WindowSize{1024, 0xFFFFFFFFFFFFFD30},
                                         WindowSize{1025, 0xFFFFFFFFFFFFF59E},
                                         WindowSize{2048, 0xFFFFFFFFFFFFF59E},
                                         WindowSize{2049, 0xFFFFFFFFFFFFE01E},
                                         WindowSize{4096, 0xFFFFFFFFFFFFE01E},
                                         WindowSize{4097, 0xFFFFFFFFFFFFBA38},
                                         WindowSize{65536, 0xFFFFFFFFFFFFBA38}));

TEST_F(SearchState, HandsTheBasePlusOneWindowOutFirst)
{
    install("1'0000'0000'0000'0000", 72);
    EXPECT_EQ("1FFFFFFFFFFFFFEC8", nextBase());
}

TEST_F(SearchState, HandsOneWindowMoreOutEachTime)
{
    install("0", 512);
    EXPECT_EQ("FFFFFFFFFFFFFEC8", nextBase());
    EXPECT_EQ("1FFFFFFFFFFFFFD90", nextBase());
    EXPECT_EQ("2FFFFFFFFFFFFFC58", nextBase());
    EXPECT_EQ("2FFFFFFFFFFFFFC58", toHex(sharedBase));
}

TEST_F(SearchState, HandsACopyOutThatIsTheCallersOwn)
{
    install("0", 8);
    const BigNumber copy(getNextBase(lock));
    ASSERT_NE(copy.get(), sharedBase);
    BN_zero(copy.get());
    EXPECT_EQ("FFFFFFFFFFFFFEC8", toHex(sharedBase));
}

TEST_F(SearchState, CopiesTheSignToo)
{
    install("-1'0000'0000'0000'0000", 8);
    const BigNumber copy(getNextBase(lock));
    EXPECT_TRUE(BN_is_negative(copy.get()));
    EXPECT_EQ(0x138U, BN_get_word(copy.get()));
}

TEST_F(SearchState, AdvancesAndCopiesInsideTheLock)
{
    install("0", 8);
    fakeAcquisitions.clear();
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
    EXPECT_EQ("FFFFFFFFFFFFFEC8", nextBase());
    EXPECT_EQ("0", before);
    EXPECT_EQ("FFFFFFFFFFFFFEC8", after);
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

TEST_F(SearchState, LetsTheLastPrimePublishedWin)
{
    setPrime(lock, fromHex("65").get());
    const BigNumber dropped(resultPrime.load());
    setPrime(lock, fromHex("67").get());
    EXPECT_EQ("67", toHex(resultPrime));
}

TEST_F(SearchState, DropsAnEarlierResultWithoutFreeingIt)
{
    setPrime(lock, fromHex("65").get());
    const BigNumber dropped(resultPrime.load());
    setPrime(lock, fromHex("67").get());
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
    install("1'0000'0000'0000'0000", 72);
    for (const int allocation : {0, 1}) {
        failCryptoAllocation(allocation);
        EXPECT_EQ(nullptr, getNextBase(lock));
        failCryptoAllocation(-1);
    }
    // Both windows are gone all the same.
    EXPECT_EQ("3FFFFFFFFFFFFFC58", nextBase());
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
