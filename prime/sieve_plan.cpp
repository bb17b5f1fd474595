#include "prime/sieve_plan.h"

#include "prime/candidate_sieve.h"
#include "prime/shortcuts.h"
#include "prime/sieve_primes.h"
#include "prime/small_primes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>

namespace
{

// Below it no sieve was measured to be worth its time.
constexpr int leastBits = 256;

// C2 of the twin prime conjecture: of the numbers near x that are 3 modulo 4, one in
// ln(x)^2 / (4 C2) is a safe prime. G. H. Hardy and J. E. Littlewood, Some problems of
// Partitio Numerorum III, Acta Mathematica 44 (1923).
constexpr double twinConstant = 0.6601618158;

// How many larger primes can be sieved in the time of one rejection of the size.
// `tools/tune-plan` prints this table for the machine that it runs on. These figures are
// of 22 November 2026: an x86-64 server with AVX-512 IFMA, libcrypto 3.0. They are
// about what it printed for the fastest way at sizes up to 512 bits, and some four fifths
// of it above: a search pays for its primes before it knows how long it will be. At 1024
// bits the figure lies between those of two rejections at once and of one.
struct Cost {
    int largestBits;
    double primes;
};
constexpr Cost costs[] = {
    {383, 800},     {639, 1'400},    {895, 5'000},
    {1279, 4'500},  {1791, 19'000},  {2559, 33'000},
    {3583, 85'000}, {6143, 150'000}, {std::numeric_limits<int>::max(), 700'000}};

// To begin a segment of the small primes takes about one exponentiation at most.
constexpr std::uint32_t segmentsInReach = 8;
// A bitmap of 2 MiB.
constexpr double farthestReach = 1 << 24;
// A slice takes a third of an exponentiation, so that no event waits long.
constexpr double slicesInExponentiation = 3;

// The bound of worthwhilePrimes depends on its own logarithm. Each round at least halves
// the error: after so many it is less than one prime.
constexpr int rounds = 40;

// A reach that most searches end within, as far as the memory allows. One search in 3000
// goes beyond 8 means, one in 7 beyond 2.
std::uint32_t reachFor(int bits, bool safe)
{
    const double steps = meanSteps(bits, safe) * (safe ? 2 : 8);
    return std::bit_ceil(static_cast<std::uint32_t>(std::min(steps, farthestReach)));
}

} // namespace

double meanSteps(int bits, bool safe)
{
    const double logarithm = bits * std::numbers::ln2;
    return safe ? logarithm * logarithm / (4 * twinConstant) : logarithm / 2;
}

double shareLeft(double bound, bool safe)
{
    const double single = 2 * std::exp(-std::numbers::egamma) / std::log(bound);
    return safe ? twinConstant * single * single : single;
}

std::size_t worthwhilePrimes(int bits, bool safe, bool halves, double cost)
{
    // A prime q divides one number in q (with halves, it divides p or (p-1)/2 of two in
    // q), and saves that share of a search's exponentiations. It is worth its time while
    // these cost more than to sieve with q.
    const double factors = halves ? 2 : 1;
    const double smallBound =
        smallPrimes[static_cast<std::size_t>(trialDivisions(bits)) - 1];
    double bound = smallBound;
    for (int i = 0; i < rounds; ++i) {
        // Where only p counts, the small primes alone sieve the halves.
        const double left = safe && !halves
                                ? shareLeft(smallBound, true) * shareLeft(bound, false) /
                                      shareLeft(smallBound, false)
                                : shareLeft(bound, safe);
        bound = std::max(smallBound, meanSteps(bits, safe) * left * factors * cost);
    }
    const double largest = std::min(bound, double{sieveBlockEnd(sieveBlockLimit - 1)});
    // The prime number theorem, with the second term of the logarithmic integral.
    const double logarithm = std::log(largest);
    return static_cast<std::size_t>(largest / logarithm * (1 + 1 / logarithm));
}

SievePlan planSieve(int bits, int mode)
{
    SievePlan plan;
    plan.safe = (mode & modeSafe) != 0;
    plan.halves = plan.safe && eventsUnwatched;
    plan.step = plan.safe ? 4 : 2;
    plan.smallCount = static_cast<std::size_t>(trialDivisions(bits)) - 1;
    if ((mode & modeFromBase) == 0 || bits < leastBits)
        return plan;

    const double cost =
        std::find_if(std::begin(costs), std::end(costs), [bits](const Cost& c) {
            return bits <= c.largestBits;
        })->primes;
    plan.primeCount =
        std::max(plan.smallCount, worthwhilePrimes(bits, plan.safe, plan.halves, cost));
    plan.reach = reachFor(bits, plan.safe);
    plan.segmentLength = plan.safe ? plan.reach / segmentsInReach : plan.reach;
    plan.sliceLength = static_cast<std::size_t>(cost / slicesInExponentiation);
    return plan;
}
