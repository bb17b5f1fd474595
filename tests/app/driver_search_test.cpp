// Whole runs in the test's own process, with real threads and fixed random bytes.
#include "tests/app/driver_fixture.h"
#include "tests/fakes/random_bytes.h"
#include "tests/support/foreign_semaphore.h"

#include <algorithm>
#include <string>

namespace
{

class DriverSearch : public DriverFixture
{
protected:
    DriverSearch()
    {
        // Witnesses that are neither 1 nor near the candidate.
        fakeRandomBytes = [](std::uint8_t* buffer, std::int32_t count) {
            std::fill_n(buffer, count, std::uint8_t{0x35});
            return count;
        };
    }

    std::int32_t search(const std::wstring& options)
    {
        const std::wstring line =
            L"norv -stopSemaphoreName " + uniqueSemaphoreName() + L" " + options;
        return run(line.c_str());
    }
};

TEST_F(DriverSearch, FindsTheFirstPrimeOneWindowAboveTheBase)
{
    EXPECT_EQ(24, search(L"-noPrompt -threads 1 -base 0123456789ABCDEF"));
    EXPECT_EQ("81 23 45 67 89 AB CC C3 ", output);
}

TEST_F(DriverSearch, FindsTheFirstSafePrimeOneWindowAboveTheBase)
{
    EXPECT_EQ(24, search(L"-noPrompt -safe -threads 1 -base 0123456789ABCDEF"));
    EXPECT_EQ("81 23 45 67 89 AB D0 9B ", output);
}

TEST_F(DriverSearch, LeavesNoSemaphoreBehind)
{
    search(L"-noPrompt -threads 2 -base 0123456789ABCDEF");
    EXPECT_FALSE(existsForeign(uniqueSemaphoreName()));
}

} // namespace
