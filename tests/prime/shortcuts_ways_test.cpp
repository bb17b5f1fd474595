// Searches by each way of exponentiation checked against the plain search.
#include "prime/prime_generation.h"
#include "prime/shortcuts.h"
#include "tests/fakes/exponentiation_way.h"
#include "tests/fakes/random_bytes.h"
#include "tests/plain/plain_prime_generation.h"
#include "tests/prime/compared_search.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <gtest/gtest.h>
#include <ostream>
#include <random>

namespace
{

// Searches of one size by one way: how many for a prime and for a safe prime, each to
// its end, or, where a limit of candidates stands, to that.
struct WayRow {
    const char* name;
    ExponentiationWay way;
    int bits;
    int plain;
    int safe;
    int candidates = -1;
};

std::ostream& operator<<(std::ostream& out, const WayRow& row)
{
    return out << row.name << row.bits;
}

class ShortcutsByWay : public testing::TestWithParam<WayRow>
{
protected:
    ShortcutsByWay()
        : size_(GetParam().bits)
    {
        fakeWay = GetParam().way;
        for (auto& uses : fakeWayUses)
            uses = 0;
    }
    ~ShortcutsByWay() override
    {
        eventsUnwatched = false;
    }

    static void compareSearches(int mode, int count)
    {
        const WayRow& row = GetParam();
        std::mt19937 generator(static_cast<std::uint32_t>(row.bits * 4 + mode));
        for (int i = 0; i < count && !HasFatalFailure(); ++i) {
            const auto seed = static_cast<std::uint32_t>(generator());
            const std::string base = oracle::randomNumber(row.bits, seed);
            compareWithPlain({base, mode, -1, row.candidates, seed});
            compareWithPlain({base, mode, static_cast<int>(generator() % 80), -1, seed});
            compareWithPlain({base, mode, -1, static_cast<int>(generator() % 20), seed});
        }
        EXPECT_GT(fakeWayUses[static_cast<std::size_t>(row.way)], 0);
    }

private:
    SearchSize size_;
};

TEST_P(ShortcutsByWay, ChangeNothingInSearchesForPrimes)
{
    compareSearches(modeFromBase, GetParam().plain);
}

TEST_P(ShortcutsByWay, ChangeNothingInSearchesForSafePrimes)
{
    compareSearches(modeFromBase | modeSafe, GetParam().safe);
}

using Way = ExponentiationWay;
INSTANTIATE_TEST_SUITE_P(
    Ways, ShortcutsByWay,
    testing::Values(WayRow{"Window", Way::slidingWindow, 512, 12, 3},
                    WayRow{"Window", Way::slidingWindow, 1024, 2, 1, 60},
                    WayRow{"ConstantTime", Way::constantTime, 512, 12, 3},
                    WayRow{"ConstantTime", Way::constantTime, 1024, 2, 1, 60},
                    WayRow{"Squarings", Way::squarings, 512, 16, 4},
                    WayRow{"Squarings", Way::squarings, 520, 12, 2},
                    WayRow{"Squarings", Way::squarings, 768, 6, 1, 200},
                    WayRow{"Squarings", Way::squarings, 1032, 3, 1, 60},
                    WayRow{"Squarings", Way::squarings, 2048, 1, 1, 30},
                    WayRow{"Squarings", Way::squarings, 4096, 1, 1, 6},
                    WayRow{"TwoAtOnce", Way::twoAtOnce, 512, 12, 3},
                    WayRow{"TwoAtOnce", Way::twoAtOnce, 1024, 6, 1},
                    WayRow{"TwoAtOnce", Way::twoAtOnce, 1024, 1, 2, 120},
                    WayRow{"TwoAtOnce", Way::twoAtOnce, 1032, 3, 1, 60},
                    WayRow{"TwoAtOnce", Way::twoAtOnce, 1536, 1, 1, 40},
                    WayRow{"TwoAtOnce", Way::twoAtOnce, 2048, 1, 1, 30}));

// A number remembered beyond the top of the size, or of another segment, would show.
TEST(ShortcutsByWayAtTheTop, WrapAroundLikeThePlainPath)
{
    const SearchSize size(512);
    for (const Way way : {Way::twoAtOnce, Way::squarings}) {
        fakeWay = way;
        for (long below = 1; below < 9000; below += 1777)
            for (const int mode : {modeFromBase, modeFromBase | modeSafe})
                compareWithPlain({oracle::powerOfTwo(512, -below), mode, -1, 60, 7});
    }
}

} // namespace
