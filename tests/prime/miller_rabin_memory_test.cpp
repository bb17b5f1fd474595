// The test's big numbers: wiped when it ends, and what happens without memory.
#include "prime/miller_rabin.h"

#include "prime/events.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/prime/engine.h"
#include "tests/prime/random_draws.h"
#include "tests/support/event_trace.h"
#include "tests/support/gmp_oracle.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <iostream>

namespace
{

using Script = RandomDraws::Script;
using Bytes = std::vector<std::uint8_t>;

// A number of 16 hex digits as a word of the library lies in memory.
Bytes asWord(std::uint64_t word)
{
    Bytes bytes(sizeof word);
    std::memcpy(bytes.data(), &word, sizeof word);
    return bytes;
}

// A prime that is 3 modulo 4: its test takes no squarings. And of 190 bits: the
// library's own divisions shift it. So whatever holds its words afterwards is a
// temporary of the test itself.
const char* const prime = "31A5ED00C0FFEE11'5EC2E7DEADBEEF77'0123456789ABCF83";
constexpr std::uint64_t primeWord = 0x5EC2E7DEADBEEF77;
// The same word of (w - 1) / 2.
constexpr std::uint64_t halfWord = 0xAF6173EF56DF77BB;
// A word of the witness.
constexpr std::uint64_t witnessWord = 0x1122334455667788;
const RandomDraws::Bytes witnessDraw{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88,
                                     0,    0,    0,    0,    0,    0,    0,    0x10};

class MillerRabinMemory : public testing::Test
{
protected:
    void TearDown() override
    {
        failCryptoAllocation(-1);
    }

    // How many blocks hold digits of the number, of its half and of the witness.
    static std::array<int, 3> traces()
    {
        return {cryptoBlocksWith(asWord(primeWord)), cryptoBlocksWith(asWord(halfWord)),
                cryptoBlocksWith(asWord(witnessWord))};
    }

    const BigNumber number_ = fromHex(prime);
    Context context_ = newContext();
    EventTrace trace_;
};

} // namespace

TEST_F(MillerRabinMemory, HoldsTheDigitsWhileTheTestRuns)
{
    RandomDraws draws({witnessDraw});
    std::array<int, 3> during{};
    trace_.refuses = [&during](const Event&) {
        during = traces();
        return false;
    };
    ASSERT_EQ(1, isPrime(number_.get(), 1, context_.get(), 0, trace_.callback()));
    EXPECT_GT(during[0], 1);
    EXPECT_GE(during[1], 1);
    EXPECT_GE(during[2], 1);
}

TEST_F(MillerRabinMemory, IsWipedAfterAVerdict)
{
    RandomDraws draws({witnessDraw});
    ASSERT_EQ(1, isPrime(number_.get(), 2, context_.get(), 0, nullptr));
    EXPECT_EQ((std::array{1, 0, 0}), traces()) << "the number itself, and nothing else";
}

TEST_F(MillerRabinMemory, IsWipedAfterARefusal)
{
    RandomDraws draws({witnessDraw});
    trace_.refuses = [](const Event&) {
        return true;
    };
    ASSERT_EQ(0, isPrime(number_.get(), 2, context_.get(), 0, trace_.callback()));
    EXPECT_EQ((std::array{1, 0, 0}), traces());
}

TEST_F(MillerRabinMemory, IsWipedAfterAFailedDraw)
{
    RandomDraws draws({witnessDraw});
    draws.failsFrom = 1;
    ASSERT_EQ(0, isPrime(number_.get(), 2, context_.get(), 0, nullptr));
    EXPECT_EQ((std::array{1, 0, 0}), traces());
}

TEST_F(MillerRabinMemory, IsWipedWithoutAnIteration)
{
    ASSERT_EQ(1, isPrime(number_.get(), -1, context_.get(), 0, nullptr));
    EXPECT_EQ((std::array{1, 0, 0}), traces());
}

TEST_F(MillerRabinMemory, GivesMinusOneWhenNoContextCanBeMade)
{
    failCryptoAllocation(0);
    EXPECT_EQ(-1, isPrime(number_.get(), 1, nullptr, 0, trace_.callback()));
    EXPECT_TRUE(trace_.events.empty());
}

TEST_F(MillerRabinMemory, NeedsNoContextForWhatItDecidesAtOnce)
{
    const BigNumber two = fromWord(2);
    const BigNumber three = fromWord(3);
    const BigNumber four = fromWord(4);
    const BigNumber one = fromWord(1);
    const BigNumber negative = fromHex("-5");
    failCryptoAllocation(0);
    EXPECT_EQ(0, isPrime(one.get(), 1, nullptr, 0, nullptr));
    EXPECT_EQ(0, isPrime(negative.get(), 1, nullptr, 0, nullptr));
    EXPECT_EQ(1, isPrime(two.get(), 1, nullptr, 0, nullptr));
    EXPECT_EQ(1, isPrime(three.get(), 1, nullptr, 0, nullptr));
    EXPECT_EQ(0, isPrime(four.get(), 1, nullptr, 0, nullptr));
    EXPECT_EQ(0, cryptoAllocations());
}

namespace
{

// Tests `number`, which gets this verdict, with each of the library's allocations
// failing in turn: every time without a verdict, and keeping nothing.
void failEachAllocation(const std::string& digits, PrimeTestStatus verdict)
{
    constexpr PrimeTestStatus unwritten = 77;
    RandomDraws draws(Script{{3}});
    const BigNumber number = fromHex(digits);
    settleCryptoMemory();
    const int before = cryptoBlocks();
    int failures = 0;
    for (int fault = 0;; ++fault) {
        ASSERT_EQ(before, cryptoBlocks()) << "before fault " << fault;
        const Context context = newContext();
        PrimeTestStatus status = unwritten;
        failCryptoAllocation(fault);
        const int returned =
            millerRabin(number.get(), 2, context.get(), nullptr, &status);
        const bool hit = cryptoAllocations() > fault;
        failCryptoAllocation(-1);
        if (!hit) {
            EXPECT_EQ(1, returned);
            EXPECT_EQ(verdict, status);
            break;
        }
        ASSERT_EQ(0, returned) << "fault " << fault;
        ASSERT_EQ(unwritten, status) << "fault " << fault;
        ++failures;
        // The same context serves again once there is memory.
        EXPECT_EQ(1, millerRabin(number.get(), 1, context.get(), nullptr, &status));
        EXPECT_EQ(verdict, status) << "after fault " << fault;
    }
    std::cout << failures << " allocations failed in turn\n";
    EXPECT_GT(failures, 7);
}

} // namespace

TEST_F(MillerRabinMemory, FailsWithoutAVerdictWhicheverAllocationFails)
{
    // 2^255 - 19 has two twos in w - 1: its test takes squarings.
    failEachAllocation(oracle::powerOfTwo(255, -19), primeTestProbablePrime);
}

TEST_F(MillerRabinMemory, GivesNoVerdictWhenTheLastSquaringFails)
{
    // 3 modulo 4: the squaring that decides nothing is the only one.
    failEachAllocation(oracle::powerOfTwo(255, -21), primeTestComposite);
}

TEST_F(MillerRabinMemory, SquaresOnceMoreBeforeItsVerdictOnAComposite)
{
    // Both are 3 modulo 4, and no iteration squares on its way to a passed one. The
    // squaring after that alone needs words for the number that it squares.
    const auto allocations = [this](int distance) {
        RandomDraws draws(Script{{3}});
        const BigNumber number = fromHex(oracle::powerOfTwo(255, -distance));
        const Context context = newContext();
        failCryptoAllocation(-1);
        isPrime(number.get(), 1, context.get(), 0, trace_.callback());
        return cryptoAllocations();
    };
    const int ofAPrime = allocations(765);
    EXPECT_EQ(1, trace_.count(iterationEvent));
    EXPECT_LT(ofAPrime, allocations(21));
    EXPECT_EQ(1, trace_.count(iterationEvent));
}
