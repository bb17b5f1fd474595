#include "platform/clock.h"

#include <chrono>
#include <ctime>

namespace
{

// Taken while the program's statics are set up, that is before main.
const std::chrono::steady_clock::time_point processStart =
    std::chrono::steady_clock::now();

} // namespace

std::int64_t calendarTime()
{
    return std::time(nullptr);
}

std::int32_t processClock()
{
    const auto elapsed = std::chrono::steady_clock::now() - processStart;
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(milliseconds));
}
