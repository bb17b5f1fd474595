// The time between one try and the next, for waits that end after a while.
#pragma once

#include <chrono>

// Counts out `patience` between the tries of one wait: another() yields at first, and
// pauses for a millisecond from the thirteenth time on.
class Tries
{
public:
    explicit Tries(std::chrono::milliseconds patience);

    // Lets some time pass before the next try. False, at once, when the time is up.
    bool another();

private:
    std::chrono::steady_clock::time_point end_;
    int made_ = 0;
};
