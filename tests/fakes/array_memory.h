// The engine's own arrays, watched: linked instead of the runtime's new[].
#pragma once

#include <cstddef>
#include <limits>

// When set, every new[] that may answer null does.
extern bool arrayAllocationFails;

// So does every new[] of more bytes than this.
inline constexpr std::size_t anyLength = std::numeric_limits<std::size_t>::max();
extern std::size_t longestArray;

// What the array that starts at `block` held when it was given back. One thread.
struct ArrayWatch {
    const void* block = nullptr;
    std::size_t size = 0;
    int releases = 0;
    // Whether all `size` bytes were zero then, and how many of the first ones.
    bool wiped = false;
    std::size_t leadingZeros = 0;
};
extern ArrayWatch arrayWatch;

// Watches the next array of `size` bytes that a new[] makes, where a test cannot name it.
void watchNextArray(std::size_t size);
