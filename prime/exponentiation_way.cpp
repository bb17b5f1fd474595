#include "prime/exponentiation_way.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <span>

namespace
{

using Way = ExponentiationWay;

// The size whose exponentiations in constant time were the fastest wherever they were
// measured: libcrypto has a routine of its own for it. At this size only this way and the
// squarings are tried.
constexpr int constantTimeBits = 512;

constexpr Way fewWays[] = {Way::constantTime, Way::squarings};
constexpr Way allWays[] = {Way::squarings, Way::twoAtOnce, Way::slidingWindow,
                           Way::constantTime};

// The first two are tried from the start: each is by far the fastest on some machine. The
// others gain less, and a short search ends before they have paid for their trials.
constexpr std::size_t promisingWays = 2;
constexpr int usesBeforeTrial = 32;
// A way that another process slowed down when it was tried gets more chances.
constexpr int usesBetweenTrials = 100;
constexpr int mostTrials = 8;

// A single measurement errs by a tenth easily. The witnesses of a prime are many, so a
// wrong choice costs more than a small gain is worth.
constexpr double clearlyFaster = 0.9;

struct Timing {
    double leastSeconds = std::numeric_limits<double>::infinity();
    int trials = 0;
};

std::mutex guard;
std::array<Timing, wayCount> timings; // of the process's size
int uses = 0;

Timing& timingOf(Way way)
{
    return timings[static_cast<std::size_t>(way)];
}

std::span<const Way> waysFor(int bits)
{
    return bits == constantTimeBits ? std::span<const Way>(fewWays)
                                    : std::span<const Way>(allWays);
}

Way fastest(std::span<const Way> ways)
{
    return *std::min_element(ways.begin(), ways.end(), [](Way a, Way b) {
        return timingOf(a).leastSeconds < timingOf(b).leastSeconds;
    });
}

Way leastTried(std::span<const Way> ways)
{
    return *std::min_element(ways.begin(), ways.end(), [](Way a, Way b) {
        return timingOf(a).trials < timingOf(b).trials;
    });
}

bool isPromising(std::span<const Way> ways, Way way)
{
    const auto promising = ways.first(promisingWays);
    return std::find(promising.begin(), promising.end(), way) != promising.end();
}

Way untimed(int bits)
{
    return bits == constantTimeBits ? Way::constantTime : Way::slidingWindow;
}

// The other way where it is clearly faster than the usual one. The squarings, which are a
// little faster, stand for the usual way where it has not been tried.
Way usualOr(Way other, int bits)
{
    const Way usual = untimed(bits);
    const Way tried = timingOf(usual).trials == 0 ? Way::squarings : usual;
    const double limit = clearlyFaster * timingOf(tried).leastSeconds;
    return timingOf(other).leastSeconds < limit ? other : usual;
}

} // namespace

ExponentiationWay rejectionWay(int bits)
{
    const std::lock_guard lock(guard);
    const auto ways = waysFor(bits);
    const Way candidate = leastTried(ways);
    const int trials = timingOf(candidate).trials;
    if (trials == 0 && isPromising(ways, candidate))
        return candidate;
    const int pause = trials == 0 ? usesBeforeTrial : usesBetweenTrials;
    return ++uses % pause == 0 && trials < mostTrials ? candidate : fastest(ways);
}

ExponentiationWay singleWay(int bits, bool baseTwo)
{
    constexpr Way ways[] = {Way::slidingWindow, Way::constantTime, Way::squarings};
    const std::lock_guard lock(guard);
    if (!baseTwo)
        return usualOr(Way::constantTime, bits);
    const Way way = fastest(ways);
    return timingOf(way).trials == 0 ? untimed(bits) : way;
}

ExponentiationWay witnessWay(int bits)
{
    constexpr Way others[] = {Way::constantTime, Way::twoAtOnce};
    const std::lock_guard lock(guard);
    return usualOr(fastest(others), bits);
}

void noteExponentiations(ExponentiationWay way, int count, double seconds)
{
    const std::lock_guard lock(guard);
    Timing& timing = timingOf(way);
    timing.leastSeconds = std::min(timing.leastSeconds, seconds / count);
    ++timing.trials;
}
