// Random draws whose buffers must be wiped, for tests that link the fakes of
// random_bytes and array_memory.
#pragma once

#include "tests/fakes/array_memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

// Puts the buffer of a draw under watch, filled with something to wipe.
inline void watchBuffer(std::uint8_t* buffer, std::int32_t count)
{
    std::fill_n(buffer, count, std::uint8_t{0x77});
    arrayWatch.block = buffer;
    arrayWatch.size = static_cast<std::size_t>(count);
}
