// Clocks that a test sets: linked instead of the platform's.
#pragma once

#include <cstdint>
#include <functional>

// What the next reads answer. By default each answers 0. A test replaces them,
// and can count or order the reads there.
extern std::function<std::int64_t()> fakeCalendarTime;
extern std::function<std::int32_t()> fakeProcessClock;
