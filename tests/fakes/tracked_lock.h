// A tracked lock that records who took it: linked instead of the real one. It
// still excludes: all locks are one and the same re-entrant lock.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct Acquisition {
    std::wstring name;
    std::int32_t line;
    bool operator==(const Acquisition&) const = default;
};

// Every acquisition in order. To be read while no thread uses a lock.
extern std::vector<Acquisition> fakeAcquisitions;

// Run by the holder right after it took the lock, and right before it gives it
// up. Nothing by default.
extern std::function<void()> fakeAcquired;
extern std::function<void()> fakeReleasing;
