#include "tests/fakes/clock.h"

#include "platform/clock.h"

std::function<std::int64_t()> fakeCalendarTime = [] {
    return std::int64_t{0};
};
std::function<std::int32_t()> fakeProcessClock = [] {
    return 0;
};

std::int64_t calendarTime()
{
    return fakeCalendarTime();
}

std::int32_t processClock()
{
    return fakeProcessClock();
}
