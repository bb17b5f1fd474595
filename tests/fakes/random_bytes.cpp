#include "tests/fakes/random_bytes.h"

#include "prime/random_bytes.h"

#include <algorithm>

std::function<std::int32_t(std::uint8_t*, std::int32_t)> fakeRandomBytes =
    [](std::uint8_t* buffer, std::int32_t count) {
        std::fill_n(buffer, count, std::uint8_t{0});
        return count;
    };

std::int32_t getRandomBytes(std::uint8_t* buffer, std::int32_t count)
{
    return fakeRandomBytes(buffer, count);
}
