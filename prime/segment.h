// Segments: stretches of the numbers of a search, a bit a number, that primes are
// crossed off in.
#pragma once

#include "prime/secret_array.h"

#include <cstdint>

// Numbers are told by their index: how many steps they lie above the search's start.
// Which of them are crossed off tells residues of the start.
struct Segment {
    std::uint32_t first = 0;  // index of its first number
    std::uint32_t length = 0; // numbers in it; 0: it has no memory
    SecretArray<std::uint64_t> crossed;
};

// The longest segment. An index plus a prime below 2^31 then fits its word.
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
void beginSegment(Segment& segment, std::uint32_t first);

// Crosses off the numbers at `index`, `index` + prime, ... to the segment's end.
// `index` is not below its first. Returns the first of these indices after the end.
std::uint32_t crossOff(Segment& segment, std::uint32_t prime, std::uint32_t index);

// Whether the number at `index`, which lies in the segment, is crossed off.
bool isCrossedOff(const Segment& segment, std::uint32_t index);

// The first index from `index` on whose number is not crossed off, or the segment's
// end. `index` lies in the segment or at its end.
std::uint32_t nextLeft(const Segment& segment, std::uint32_t index);
