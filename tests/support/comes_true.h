// Waiting for what another process does.
#pragma once

#include "tests/support/process.h"

#include <chrono>
#include <thread>

// Polls for an event, for longer than any machine needs. False when it does not come.
template <typename Condition>
bool comesTrue(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + Process::timeLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
