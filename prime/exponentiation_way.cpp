#include "prime/exponentiation_way.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <span>

namespace
{

using Way = ExponentiationWay;

// The size whose exponentiations in constant time were the fastest wherever they were
// measured: libcrypto has a routine of its own for it. No time is spent on slower ways.
constexpr int constantTimeBits = 512;

constexpr Way fewWays[] = {Way::constantTime, Way::squarings};
constexpr Way allWays[] = {Way::squarings, Way::twoAtOnce, Way::constantTime,
                           Way::slidingWindow};

// A way that another process slowed down when it was tried gets more chances.
constexpr int usesBetweenTrials = 100;
constexpr int mostTrials = 8;

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

Way untimed(int bits)
{
    return bits == constantTimeBits ? Way::constantTime : Way::slidingWindow;
}

} // namespace

ExponentiationWay rejectionWay(int bits)
{
    const std::lock_guard lock(guard);
    const auto ways = waysFor(bits);
    const Way candidate = leastTried(ways);
    const int trials = timingOf(candidate).trials;
    if (trials == 0 || (++uses % usesBetweenTrials == 0 && trials < mostTrials))
        return candidate;
    return fastest(ways);
}

ExponentiationWay singleWay(int bits, bool baseTwo)
{
    constexpr Way ways[] = {Way::slidingWindow, Way::constantTime, Way::squarings};
    const std::lock_guard lock(guard);
    const Way way = fastest(std::span(ways).first(baseTwo ? 3 : 2));
    return timingOf(way).trials == 0 ? untimed(bits) : way;
}

ExponentiationWay witnessWay(int bits)
{
    constexpr Way ways[] = {Way::slidingWindow, Way::constantTime, Way::twoAtOnce};
    const std::lock_guard lock(guard);
    const Way way = fastest(ways);
    return timingOf(way).trials == 0 ? untimed(bits) : way;
}

void noteExponentiations(ExponentiationWay way, int count, double seconds)
{
    const std::lock_guard lock(guard);
    Timing& timing = timingOf(way);
    timing.leastSeconds = std::min(timing.leastSeconds, seconds / count);
    ++timing.trials;
}
