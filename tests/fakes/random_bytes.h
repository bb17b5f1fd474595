// Random bytes that a test chooses: linked instead of the clock-driven ones.
#pragma once

#include <cstdint>
#include <functional>

// What getRandomBytes does. By default it fills with zeros and returns count.
extern std::function<std::int32_t(std::uint8_t* buffer, std::int32_t count)>
    fakeRandomBytes;
