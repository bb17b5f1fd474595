// Searches with every shortcut checked against the plain path: what they show and what
// they give must be the same. The witnesses here do not repeat; for those that do see
// shortcuts_made_bases_test.cpp.
#include "prime/shortcuts.h"

#include "prime/prime_generation.h"
#include "tests/fakes/random_bytes.h"
#include "tests/plain/plain_prime_generation.h"
#include "tests/prime/compared_search.h"
#include "tests/prime/engine.h"
#include "tests/support/event_trace.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>
#include <random>

namespace
{

// Searches of one size: how many from a base, and how many of these are for a safe
// prime; as many again from a random start, up to 64 bits.
struct Row {
    int bits;
    int plain;
    int safe;
};

std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.plain << " plain and " << row.safe << " safe of " << row.bits
               << " bits";
}

class Shortcuts : public testing::TestWithParam<Row>
{
protected:
    void TearDown() override
    {
        eventsUnwatched = false;
    }

    // One search to its end, one stopped at a random event, one at a random candidate.
    static void compareSearches(int mode, int count)
    {
        const int bits = GetParam().bits;
        std::mt19937 generator(static_cast<std::uint32_t>(bits * 4 + mode));
        for (int i = 0; i < count && !HasFatalFailure(); ++i) {
            const auto seed = static_cast<std::uint32_t>(generator());
            const std::string base = oracle::randomNumber(bits, seed);
            compareWithPlain({base, mode, -1, -1, seed});
            compareWithPlain({base, mode, static_cast<int>(generator() % 100), -1, seed});
            compareWithPlain({base, mode, -1, static_cast<int>(generator() % 30), seed});
        }
    }
};

TEST_P(Shortcuts, ChangeNothingInSearchesForPrimes)
{
    const SearchSize size(GetParam().bits);
    compareSearches(modeFromBase, GetParam().plain);
}

TEST_P(Shortcuts, ChangeNothingInSearchesForSafePrimes)
{
    const SearchSize size(GetParam().bits);
    compareSearches(modeFromBase | modeSafe, GetParam().safe);
}

TEST_P(Shortcuts, ChangeNothingInSearchesFromARandomStart)
{
    const SearchSize size(GetParam().bits);
    compareSearches(0, GetParam().plain / 4);
    if (GetParam().bits <= 64)
        compareSearches(modeSafe, GetParam().safe / 4);
}

// 2,079 bases in all.
INSTANTIATE_TEST_SUITE_P(
    Sizes, Shortcuts,
    testing::Values(Row{16, 160, 160}, Row{24, 120, 120}, Row{32, 160, 160},
                    Row{64, 120, 120}, Row{128, 120, 80}, Row{248, 80, 40},
                    Row{256, 120, 80}, Row{264, 100, 40}, Row{320, 60, 20},
                    Row{384, 40, 16}, Row{504, 30, 6}, Row{512, 40, 12}, Row{520, 30, 5},
                    Row{768, 16, 2}, Row{1024, 12, 1}, Row{1032, 8, 1}));

// Sizes whose searches take too long for here: their first candidates.
class ShortcutsOfLargeSizes : public Shortcuts
{
};

TEST_P(ShortcutsOfLargeSizes, ChangeNothingInTheFirstCandidates)
{
    const SearchSize size(GetParam().bits);
    const std::string base = oracle::randomNumber(GetParam().bits, 5);
    compareWithPlain({base, modeFromBase, -1, GetParam().plain, 5});
    compareWithPlain({base, modeFromBase | modeSafe, -1, GetParam().safe, 5});
}

INSTANTIATE_TEST_SUITE_P(Sizes, ShortcutsOfLargeSizes,
                         testing::Values(Row{1280, 60, 200}, Row{1536, 40, 120},
                                         Row{1792, 40, 100}, Row{2048, 30, 80},
                                         Row{2560, 20, 40}, Row{3584, 15, 20},
                                         Row{4096, 10, 20}, Row{6144, 5, 8},
                                         Row{8192, 4, 5}));

// No segment reaches past the top of the size: the search wraps around to the bottom.
TEST(ShortcutsAtTheTop, WrapAroundLikeThePlainPath)
{
    const SearchSize size(256);
    for (long below = 1; below < 40000; below += 1777) {
        for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
            const Search search{oracle::powerOfTwo(256, -below), mode, -1, -1, 7};
            const Outcome plain = run(search, plainGeneratePrime);
            EXPECT_EQ(plain, run(search, generatePrime))
                << below << " below the top, mode " << mode;
            eventsUnwatched = true;
            EXPECT_EQ(seen(plain.events), seen(run(search, generatePrime).events))
                << below;
            eventsUnwatched = false;
        }
    }
}

} // namespace
