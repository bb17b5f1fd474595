#include "search/one_way_flag.h"

#include "platform/clock.h"
#include "platform/thread.h"
#include "platform/yield.h"

namespace
{

constexpr std::uint32_t longestMilliseconds = 500;
// Enough for a thread that can run at once, on another processor or this one. After that
// either the machine is busy or no thread is about to raise the flag.
constexpr int mostYields = 200;
constexpr int mostPauses = 500;

} // namespace

void waitBrieflyFor(const OneWayFlag& flag)
{
    const auto start = static_cast<std::uint32_t>(processClock());
    const auto inTime = [start] {
        return static_cast<std::uint32_t>(processClock()) - start < longestMilliseconds;
    };
    for (int i = 0; flag == 0 && i < mostYields && inTime(); ++i)
        yieldThread();
    for (int i = 0; flag == 0 && i < mostPauses && inTime(); ++i)
        pauseThread(1);
}
