#include "platform/clock.h"

#include <ctime>

// The runtime's clock counts wall time here, 1000 ticks a second.
static_assert(CLOCKS_PER_SEC == 1000);

std::int64_t calendarTime()
{
    return _time64(nullptr);
}

std::int32_t processClock()
{
    return static_cast<std::int32_t>(std::clock());
}
