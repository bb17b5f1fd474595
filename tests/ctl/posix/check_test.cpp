#include "ctl/check.h"

#include "tests/ctl/known_primes.h"
#include "tests/support/big.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <pthread.h>

namespace
{

// No thread can start while one exists: its stack would be larger than any memory.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_getattr_default_np(&before);
        pthread_attr_t endless = before;
        pthread_attr_setstacksize(&endless, std::size_t{1} << 60);
        pthread_setattr_default_np(&endless);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&before);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t before{};
};

void* doNothing(void* /*argument*/)
{
    return nullptr;
}

TEST(CheckFound, NeedsNoOtherThread)
{
    const NoThreads none;
    pthread_t thread{};
    ASSERT_NE(0, pthread_create(&thread, nullptr, doNothing, nullptr));
    const auto check = [](std::string_view prime) {
        return checkFound(fromHex(prime).get(), nullptr, 64, true, 2);
    };
    EXPECT_EQ(CheckResult::good, check(safe64));
    EXPECT_EQ(CheckResult::halfNotPrime, check(plain64));
    EXPECT_EQ(CheckResult::notPrime, check("8000000000000001"));
}

} // namespace
