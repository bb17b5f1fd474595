// A segment: a stretch of a search's numbers as a bitmap, in which multiples of primes
// are crossed off.
#pragma once

#include "prime/secret_array.h"

#include <cstdint>

// A number is identified by its index: how many steps it lies above the search's start.
// The bitmap reveals residues of the start.
struct Segment {
    std::uint32_t first = 0;  // index of its first number
    std::uint32_t length = 0; // numbers in it; 0: it has no memory
    SecretArray<std::uint64_t> crossed;
};

// The longest segment: an index in it plus a prime below 2^31 fits 32 bits.
inline constexpr std::uint32_t longestSegment = std::uint32_t{1} << 30;

// Makes `segment`, which has no memory, one of `length` numbers: a multiple of 64, up
// to longestSegment. Returns false when memory is short; its length then stays 0.
bool allocateSegment(Segment& segment, std::uint32_t length);

// The index after the segment's last number.
inline std::uint32_t endOf(const Segment& segment)
{
    return segment.first + segment.length;
}

// Lets the segment begin at the index `first` with no number crossed off.
// first + length is at most 2^31.
void beginSegment(Segment& segment, std::uint32_t first);

// Crosses off the numbers at `index`, `index` + prime, ... to the segment's end.
// `index` is not below its first. Returns the first of these indices at or after the end.
std::uint32_t crossOff(Segment& segment, std::uint32_t prime, std::uint32_t index);

// Whether the number at `index`, which lies in the segment, is crossed off.
bool isCrossedOff(const Segment& segment, std::uint32_t index);

// The first index from `index` on whose number is not crossed off, or the segment's
// end. `index` lies in the segment or at its end.
std::uint32_t nextLeft(const Segment& segment, std::uint32_t index);
