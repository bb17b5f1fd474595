// The memory of the sieves of all searches of this process, which is limited: a process
// may have any number of workers.
#pragma once

#include "prime/sieve_plan.h"

#include <cstddef>
#include <utility>

// Bytes that the segments of all sieves hold together at most. The primes to sieve with
// take up to 59 MB more, so that both stay below 256 MB.
inline constexpr std::size_t sieveMemoryLimit = std::size_t{180} << 20;

// What a plan's segments take, in bytes.
std::size_t segmentBytes(const SievePlan& plan);

// The memory reserved for one sieve's segments, given back by the destructor. Any thread
// may reserve and give back.
class SieveMemory
{
public:
    SieveMemory() = default;
    SieveMemory(SieveMemory&& other) noexcept
        : bytes_(std::exchange(other.bytes_, 0))
    {
    }
    SieveMemory& operator=(SieveMemory&& other) noexcept
    {
        std::swap(bytes_, other.bytes_);
        return *this;
    }
    ~SieveMemory();

private:
    friend SieveMemory reserveSieveMemory(SievePlan& plan);
    std::size_t bytes_ = 0;
};

// Reserves what the plan's segments take. No sieve gets more than a sixteenth of what is
// left, so that late ones get something as well: where that is less than the plan wants,
// the plan's segments are halved until they fit. The reach becomes 0 when no useful
// length fits.
SieveMemory reserveSieveMemory(SievePlan& plan);

// Whether the process, after a sieve took so many bytes, could still have a megabyte. A
// sieve must not take the last memory: a test that has none for its numbers rejects its
// candidate, be it prime or not. True for a few bytes: to look takes as long as to use
// them.
bool leavesMemory(std::size_t taken);
