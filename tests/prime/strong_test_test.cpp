#include "prime/strong_test.h"

#include "tests/fakes/crypto_memory.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>

namespace
{

using Way = ExponentiationWay;
constexpr Way singleWays[] = {Way::slidingWindow, Way::constantTime, Way::squarings};

class StrongTest : public testing::Test
{
protected:
    void expect(StrongVerdict expected, const std::string& number)
    {
        const BigNumber w = fromHex(number);
        for (const Way way : singleWays)
            EXPECT_EQ(expected, strongTest(tester, w.get(), way, context.get()))
                << number << ", way " << static_cast<int>(way);
        const auto both = strongTestOfTwo(tester, w.get(), w.get(), context.get());
        EXPECT_EQ(expected, both[0]) << number;
        EXPECT_EQ(expected, both[1]) << number;
    }

    Context context = newContext();
    StrongTester tester = makeStrongTester();
};

// Each kind of w - 1 = 2^a * m, a = 1 and more.
TEST_F(StrongTest, LetsPrimesPass)
{
    for (const int bits : {256, 257, 320, 512, 1024})
        for (std::uint32_t seed = 1; seed <= 12; ++seed)
            expect(StrongVerdict::passed,
                   oracle::firstPrime(oracle::randomNumber(bits, seed), {bits, false}));
    // 2^521 - 1; 5 * 2^3313 + 1 and 7 * 2^2256 + 1, whose a is large.
    expect(StrongVerdict::passed, oracle::powerOfTwo(521, -1));
    BigNumber proth = fromHex("5");
    BN_lshift(proth.get(), proth.get(), 3313);
    BN_add_word(proth.get(), 1);
    expect(StrongVerdict::passed, toHex(proth.get()));
    proth = fromHex("7");
    BN_lshift(proth.get(), proth.get(), 2256);
    BN_add_word(proth.get(), 1);
    expect(StrongVerdict::passed, toHex(proth.get()));
}

TEST_F(StrongTest, ProvesCompositesOfLargePrimes)
{
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        const BigNumber p =
            fromHex(oracle::firstPrime(oracle::randomNumber(256, seed), {256, false}));
        const BigNumber q =
            fromHex(oracle::firstPrime(oracle::randomNumber(264, seed), {264, false}));
        const BigNumber product(BN_new());
        BN_mul(product.get(), p.get(), q.get(), context.get());
        expect(StrongVerdict::composite, toHex(product.get()));
    }
}

// 2^p - 1 and the Fermat numbers are strong pseudoprimes to the base 2 when they are
// composite: 2^257 - 1 and 2^512 + 1 are.
TEST_F(StrongTest, LetsStrongPseudoprimesPass)
{
    expect(StrongVerdict::passed, oracle::powerOfTwo(257, -1));
    expect(StrongVerdict::passed, oracle::powerOfTwo(512, 1));
}

// Of two numbers each gets its own verdict, in either order.
TEST_F(StrongTest, TellsTwoNumbersApart)
{
    for (const int bits : {512, 1024, 1032}) {
        const BigNumber prime =
            fromHex(oracle::firstPrime(oracle::randomNumber(bits, 3), {bits, false}));
        BigNumber composite(BN_dup(prime.get()));
        do
            BN_add_word(composite.get(), 2);
        while (BN_mod_word(composite.get(), 3) != 0);
        const auto verdicts =
            strongTestOfTwo(tester, prime.get(), composite.get(), context.get());
        EXPECT_EQ(StrongVerdict::passed, verdicts[0]) << bits;
        EXPECT_EQ(StrongVerdict::composite, verdicts[1]) << bits;
        const auto swapped =
            strongTestOfTwo(tester, composite.get(), prime.get(), context.get());
        EXPECT_EQ(StrongVerdict::composite, swapped[0]) << bits;
        EXPECT_EQ(StrongVerdict::passed, swapped[1]) << bits;
    }
}

// All ways agree with each other on numbers of every kind.
TEST_F(StrongTest, SaysTheSameByEachWay)
{
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        const BigNumber w =
            fromHex(oracle::randomNumber(256 + static_cast<int>(seed % 3) * 128, seed));
        BN_set_bit(w.get(), 0);
        const StrongVerdict expected =
            strongTest(tester, w.get(), Way::slidingWindow, context.get());
        for (const Way way : singleWays)
            ASSERT_EQ(expected, strongTest(tester, w.get(), way, context.get())) << seed;
    }
}

TEST_F(StrongTest, MakesNoTestWithoutItsMemory)
{
    const BigNumber w = fromHex(oracle::powerOfTwo(521, -1));
    const StrongTester none;
    EXPECT_EQ(StrongVerdict::unknown,
              strongTest(none, w.get(), Way::squarings, context.get()));
    EXPECT_EQ(StrongVerdict::unknown,
              strongTestOfTwo(none, w.get(), w.get(), context.get())[0]);

    tester.second.reset();
    EXPECT_EQ(StrongVerdict::passed,
              strongTest(tester, w.get(), Way::squarings, context.get()));
    EXPECT_EQ(StrongVerdict::unknown,
              strongTestOfTwo(tester, w.get(), w.get(), context.get())[0]);
}

// Runs the test with each allocation of the library failing once, and with none.
template <typename Test>
void failEachAllocation(Test test)
{
    for (int failing = 0;; ++failing) {
        const Context context = newContext();
        const StrongTester tester = makeStrongTester();
        failCryptoAllocation(failing);
        test(tester, context.get());
        const bool failed = cryptoAllocations() > failing;
        failCryptoAllocation(-1);
        if (!failed || testing::Test::HasFailure()) {
            EXPECT_GT(failing, 0);
            return;
        }
    }
}

TEST(StrongTestWithoutMemory, ProvesNothingOfAPrime)
{
    const BigNumber w = fromHex(oracle::powerOfTwo(521, -1));
    for (const Way way : singleWays)
        failEachAllocation([&](const StrongTester& tester, BN_CTX* context) {
            EXPECT_NE(StrongVerdict::composite, strongTest(tester, w.get(), way, context))
                << static_cast<int>(way);
        });
    failEachAllocation([&](const StrongTester& tester, BN_CTX* context) {
        for (const StrongVerdict verdict :
             strongTestOfTwo(tester, w.get(), w.get(), context))
            EXPECT_NE(StrongVerdict::composite, verdict);
    });
}

} // namespace
