#include "ctl/check.h"

#include "tests/ctl/known_primes.h"
#include "tests/support/big.h"
#include "tests/support/posix/no_threads.h"

#include <gtest/gtest.h>

namespace
{

TEST(CheckFound, NeedsNoOtherThread)
{
    const NoThreads none;
    ASSERT_FALSE(canStartThread());
    const auto check = [](std::string_view prime) {
        return checkFound(fromHex(prime).get(), nullptr, 64, true, 2);
    };
    EXPECT_EQ(CheckResult::good, check(safe64));
    EXPECT_EQ(CheckResult::halfNotPrime, check(plain64));
    EXPECT_EQ(CheckResult::notPrime, check("8000000000000001"));
}

} // namespace
