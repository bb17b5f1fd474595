// The source of all randomness: bytes mixed from the calendar and the clock.
#pragma once

#include <cstdint>

// Fills `buffer` with `count` bytes. They follow from the two clocks, neighbours
// are related, and every 32nd byte, the first included, is zero: callers rely
// on exactly this sequence.
// Returns count, or 0, with nothing written, when count is 0 or less. No state:
// any thread, and equal clock readings give equal bytes.
std::int32_t getRandomBytes(std::uint8_t* buffer, std::int32_t count);
