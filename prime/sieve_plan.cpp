#include "prime/sieve_plan.h"

#include "prime/candidate_sieve.h"
#include "prime/shortcuts.h"
#include "prime/small_primes.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace
{

struct Row {
    int largestBits;
    std::size_t plainPrimes;
    std::size_t safePrimes;   // for p alone
    std::size_t halvesPrimes; // for p and (p-1)/2
    std::uint32_t plainReach;
    std::uint32_t safeReach;
    std::uint32_t safeSegment;
    std::size_t slice;
};

constexpr int leastBits = 256;
constexpr Row rows[] = {
    {383, 1'000, 6'000, 6'500, 1 << 10, 1 << 15, 1 << 12, 150},
    {639, 3'000, 26'000, 28'000, 1 << 11, 1 << 17, 1 << 13, 200},
    {895, 6'500, 80'000, 100'000, 1 << 12, 1 << 18, 1 << 15, 400},
    {1279, 9'000, 90'000, 155'000, 1 << 12, 1 << 19, 1 << 16, 1'000},
    {1791, 30'000, 600'000, 800'000, 1 << 12, 1 << 20, 1 << 17, 2'500},
    {2559, 60'000, 1'500'000, 2'000'000, 1 << 13, 1 << 21, 1 << 18, 4'000},
    {3583, 200'000, 4'000'000, 5'500'000, 1 << 13, 1 << 22, 1 << 19, 8'000},
    {6143, 300'000, 5'500'000, 5'500'000, 1 << 14, 1 << 23, 1 << 20, 10'000},
    {std::numeric_limits<int>::max(), 2'000'000, 5'500'000, 5'500'000, 1 << 15, 1 << 24,
     1 << 20, 50'000},
};

} // namespace

SievePlan planSieve(int bits, int mode)
{
    SievePlan plan;
    plan.safe = (mode & modeSafe) != 0;
    plan.halves = plan.safe && eventsUnwatched;
    plan.step = plan.safe ? 4 : 2;
    plan.smallCount = static_cast<std::size_t>(trialDivisions(bits)) - 1;
    if ((mode & modeFromBase) == 0 || bits < leastBits)
        return plan;

    const Row& row =
        *std::find_if(std::begin(rows), std::end(rows),
                      [bits](const Row& r) { return bits <= r.largestBits; });
    const std::size_t safePrimes = plan.halves ? row.halvesPrimes : row.safePrimes;
    plan.primeCount = plan.safe ? safePrimes : row.plainPrimes;
    plan.segmentLength = plan.safe ? row.safeSegment : row.plainReach;
    plan.reach = plan.safe ? row.safeReach : row.plainReach;
    plan.sliceLength = row.slice;
    return plan;
}
