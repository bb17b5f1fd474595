#include "prime/random_bytes.h"

#include "platform/clock.h"

std::int32_t getRandomBytes(std::uint8_t* buffer, std::int32_t count)
{
    // docs/fixed-behaviour.md: clock-bytes, entry-reading
    auto mixState = static_cast<std::uint64_t>(calendarTime());
    if (count <= 0)
        return 0;

    for (std::int32_t i = 0; i < count; ++i) {
        const auto time = static_cast<std::uint64_t>(calendarTime());
        const std::int64_t clock = processClock();
        mixState = (static_cast<std::uint64_t>(clock) * mixState) ^ time;
        // Where i is a multiple of 32, this is x ^ x. docs/fixed-behaviour.md: zero-bytes
        buffer[i] = static_cast<std::uint8_t>(mixState ^ (mixState >> (i % 32)));
    }
    return count;
}
