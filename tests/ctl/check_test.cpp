#include "ctl/check.h"

#include "tests/ctl/known_primes.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

CheckResult check(std::string_view prime, std::string_view base, int bits, bool safe)
{
    const BigNumber number = fromHex(prime);
    const BigNumber start = fromHex(base);
    const CheckResult result = checkFound(number.get(), start.get(), bits, safe, 1);
    EXPECT_EQ(result, checkFound(number.get(), start.get(), bits, safe, 2));
    return result;
}

TEST(CheckFound, AcceptsAPrimeAboveItsBase)
{
    EXPECT_EQ(CheckResult::good, check(plain64, "8000000000000000", 64, false));
    EXPECT_EQ(CheckResult::good, check(safe64, "8000000000000000", 64, true));
    EXPECT_EQ(CheckResult::good, check(oakley1024, "FF", 1024, true));
}

TEST(CheckFound, DoesNotNeedABase)
{
    EXPECT_EQ(CheckResult::good, checkFound(fromHex(safe64).get(), nullptr, 64, true, 1));
}

TEST(CheckFound, WantsExactlyTheSize)
{
    EXPECT_EQ(CheckResult::wrongSize, check(plain64, "0", 56, false));
    EXPECT_EQ(CheckResult::wrongSize, check(plain64, "0", 72, false));
    EXPECT_EQ(CheckResult::wrongSize, check("0", "0", 8, false));
    EXPECT_EQ(CheckResult::wrongSize, check("-83", "0", 8, false));
}

TEST(CheckFound, RejectsAComposite)
{
    // 7 * 13 * 31, a Carmichael number.
    EXPECT_EQ(CheckResult::notPrime, check("B05", "0", 12, false));
    EXPECT_EQ(CheckResult::notPrime, check("8000000000000001", "0", 64, false));
    EXPECT_EQ(CheckResult::notPrime, check("8000000000000000", "0", 64, true));
}

TEST(CheckFound, RejectsAPrimeWithAnyDigitChanged)
{
    const std::string digits = "e11340e10ffee7c7"; // a safe prime
    ASSERT_EQ(CheckResult::good, check(digits, "0", 64, true));
    for (std::size_t i = 1; i < digits.size(); ++i) {
        std::string changed = digits;
        changed[i] = changed[i] == '2' ? '3' : '2';
        EXPECT_NE(CheckResult::good, check(changed, "0", 64, true)) << changed;
    }
}

TEST(CheckFound, WantsAPrimeHalfOfASafePrimeOnly)
{
    EXPECT_EQ(CheckResult::good, check(plain64, "0", 64, false));
    EXPECT_EQ(CheckResult::halfNotPrime, check(plain64, "0", 64, true));
}

// The first prime of 96 bits, 2^95 + 9, and the first one of 1024 bits, 2^1023 + 1155.
const std::string first96 = "800000000000000000000009";
const std::string first1024 = "8" + std::string(252, '0') + "483";

TEST(CheckFound, AcceptsAPrimeAtTheBottomForABaseNearTheTop)
{
    EXPECT_EQ(CheckResult::good, check(first96, std::string(24, 'F'), 96, false));
    EXPECT_EQ(CheckResult::good, check(first1024, std::string(256, 'F'), 1024, false));
}

TEST(CheckFound, AcceptsNoPrimeBelowABaseFarFromTheTop)
{
    EXPECT_EQ(CheckResult::belowBase,
              check(first1024, "8" + std::string(252, '0') + "484", 1024, false));
    EXPECT_EQ(CheckResult::belowBase,
              check(first1024, "F" + std::string(255, '0'), 1024, false));
    EXPECT_EQ(CheckResult::belowBase, check(first1024, first1024, 1024, false));
}

TEST(CheckFound, AcceptsLessThan2To80NumbersAroundTheTop)
{
    // From the base 2^96 - d to the prime 2^95 + 9 it is d + 9.
    EXPECT_EQ(CheckResult::good, check(first96, "FFFF0000000000000000000A", 96, false));
    EXPECT_EQ(CheckResult::belowBase,
              check(first96, "FFFF00000000000000000009", 96, false));
}

TEST(CheckFound, AcceptsNoBaseOfMoreBits)
{
    EXPECT_EQ(CheckResult::belowBase,
              check(plain64, "1" + std::string(16, '0'), 64, false));
}

// Each allocation of libcrypto fails once. The answer is then that it failed, or the
// right one: it never calls a composite good, or a prime bad.
void failEach(std::string_view prime, CheckResult right, int threads)
{
    const BigNumber number = fromHex(prime);
    const BigNumber base = fromHex("8000000000000000");
    failCryptoAllocation(-1);
    // The first use of libcrypto's generator makes what stays.
    checkFound(number.get(), base.get(), 64, true, threads);
    const int before = cryptoBlocks();
    failCryptoAllocation(-1);
    checkFound(number.get(), base.get(), 64, true, threads);
    const int count = cryptoAllocations();
    ASSERT_GT(count, 0);
    int failed = 0;
    for (int i = 0; i < count; ++i) {
        failCryptoAllocation(i);
        const CheckResult result =
            checkFound(number.get(), base.get(), 64, true, threads);
        failCryptoAllocation(-1);
        EXPECT_TRUE(result == right || result == CheckResult::failed) << i;
        failed += result == CheckResult::failed;
    }
    EXPECT_GT(failed, 0);
    EXPECT_LE(cryptoBlocks(), before + 4);
}

TEST(CheckFound, SaysWhenMemoryIsShort)
{
    for (const int threads : {1, 2}) {
        failEach(safe64, CheckResult::good, threads);
        failEach(plain64, CheckResult::halfNotPrime, threads);
        failEach("8000000000000001", CheckResult::notPrime, threads);
    }
}

// Event 1 with -1 tells the end of the trial divisions.
int countIteration(int event, int number, BN_GENCB* callback)
{
    if (event == 1 && number >= 0)
        ++*static_cast<int*>(BN_GENCB_get_arg(callback));
    return 1;
}

// libcrypto reports each test that a number passes.
int iterations(const std::string& prime)
{
    int count = 0;
    const OwnedCallback callback(BN_GENCB_new());
    BN_GENCB_set(callback.get(), countIteration, &count);
    const Context context(BN_CTX_new());
    EXPECT_EQ(1, BN_check_prime(fromHex(prime).get(), context.get(), callback.get()));
    return count;
}

TEST(IterationsOfCheck, AreThoseThatLibcryptoReports)
{
    EXPECT_EQ(iterations(oakley1024), static_cast<int>(iterationsOfCheck(1024)));
    // 2^2203 - 1
    EXPECT_EQ(iterations("7" + std::string(550, 'F')),
              static_cast<int>(iterationsOfCheck(2203)));
}

} // namespace
