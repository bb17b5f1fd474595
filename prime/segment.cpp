#include "prime/segment.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace
{

constexpr std::uint32_t wordBits = 64;
constexpr std::uint64_t highestEnd = std::uint64_t{1} << 31;

} // namespace

bool allocateSegment(Segment& segment, std::uint32_t length)
{
    assert(length % wordBits == 0 && length <= longestSegment);
    if (!allocateSecret(segment.crossed, length / wordBits))
        return false;
    segment.length = length;
    return true;
}

void beginSegment(Segment& segment, std::uint32_t first)
{
    assert(std::uint64_t{first} + segment.length <= highestEnd);
    const std::size_t words = segment.length / wordBits;
    noteWritten(segment.crossed, words);
    std::fill_n(segment.crossed.get(), words, 0);
    segment.first = first;
}

std::uint32_t crossOff(Segment& segment, std::uint32_t prime, std::uint32_t index)
{
    assert(index >= segment.first);
    const std::uint32_t end = endOf(segment);
    std::uint64_t* words = segment.crossed.get();
    for (; index < end; index += prime) {
        const std::uint32_t bit = index - segment.first;
        words[bit / wordBits] |= std::uint64_t{1} << (bit % wordBits);
    }
    return index;
}

bool isCrossedOff(const Segment& segment, std::uint32_t index)
{
    assert(index >= segment.first && index < endOf(segment));
    const std::uint32_t bit = index - segment.first;
    return (segment.crossed[bit / wordBits] >> (bit % wordBits) & 1) != 0;
}

std::uint32_t nextLeft(const Segment& segment, std::uint32_t index)
{
    assert(index >= segment.first && index <= endOf(segment));
    for (std::uint32_t bit = index - segment.first; bit < segment.length;) {
        const std::uint64_t word = segment.crossed[bit / wordBits] >> (bit % wordBits);
        const auto set = static_cast<std::uint32_t>(std::countr_one(word));
        const std::uint32_t leftInWord = wordBits - bit % wordBits;
        // The shift fills with zeros, which look like a number not crossed off: such a
        // hit does not count.
        if (set < leftInWord)
            return segment.first + bit + set;
        bit += leftInWord;
    }
    return endOf(segment);
}
