#include "prime/sieve_primes.h"

#include "prime/sieve_memory.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <span>

namespace
{

constexpr std::uint32_t wordBits = 64;
constexpr std::uint32_t numbersInWord = 2 * wordBits;
constexpr std::uint32_t longestBlock = sieveBlockEnd(3) - sieveBlockEnd(2);

// A bit for each odd number of a block: whether it is composite.
using Composites = std::span<std::uint64_t>;

struct Block {
    std::once_flag made;
    std::unique_ptr<std::uint32_t[]> primes; // null: memory was short
    std::size_t count = 0;
};

std::array<Block, sieveBlockLimit> blocks;

// The odd multiples of one prime, which is below 64: a bit for each odd number, from 1
// on. They repeat after as many words as the prime.
struct Pattern {
    std::uint32_t prime;
    std::array<std::uint64_t, wordBits> multiples;
};

constexpr Pattern makePattern(std::uint32_t prime)
{
    Pattern pattern{prime, {}};
    for (std::uint32_t i = prime / 2; i < prime * wordBits; i += prime)
        pattern.multiples[i / wordBits] |= std::uint64_t{1} << (i % wordBits);
    return pattern;
}

constexpr Pattern patterns[] = {
    makePattern(3),  makePattern(5),  makePattern(7),  makePattern(11), makePattern(13),
    makePattern(17), makePattern(19), makePattern(23), makePattern(29), makePattern(31),
    makePattern(37), makePattern(41), makePattern(43), makePattern(47), makePattern(53),
    makePattern(59), makePattern(61)};

// Where the primes after them begin among the small primes, which begin with 2.
constexpr std::size_t firstWithoutPattern = std::size(patterns) + 1;

void crossOffPatterns(Composites composites, std::uint32_t begin)
{
    for (const Pattern& pattern : patterns) {
        std::uint32_t word = begin / numbersInWord % pattern.prime;
        for (std::uint64_t& odds : composites) {
            odds |= pattern.multiples[word];
            word = word + 1 == pattern.prime ? 0 : word + 1;
        }
    }
}

// Sets the bits of all odd multiples of `prime` from its square on.
void crossOffMultiples(Composites composites, std::uint32_t begin, std::uint32_t prime)
{
    std::uint32_t multiple = prime * prime;
    if (multiple < begin) {
        multiple = (begin + prime - 1) / prime * prime;
        if (multiple % 2 == 0)
            multiple += prime;
    }
    const std::size_t odds = composites.size() * wordBits;
    for (std::size_t i = (multiple - begin) / 2; i < odds; i += prime)
        composites[i / wordBits] |= std::uint64_t{1} << (i % wordBits);
}

// Makes room for `count` primes. Returns false when memory is short. Throws nothing: an
// exception must not cross std::call_once, whose insides are the C library's.
bool makeRoom(Block& block, std::size_t count)
{
    block.primes.reset(new (std::nothrow) std::uint32_t[count]);
    if (block.primes && !leavesMemory(count * sizeof(std::uint32_t)))
        block.primes.reset();
    return block.primes != nullptr;
}

void copySmallPrimes(Block& wanted)
{
    constexpr std::size_t count = smallPrimeCount - 1;
    if (!makeRoom(wanted, count))
        return;
    std::copy_n(smallPrimes.begin() + 1, count, wanted.primes.get());
    wanted.count = count;
}

// The sieve of Eratosthenes over the odd numbers of one block after the first. It begins
// where a word does, and drops what lies before the block.
void sieveBlock(Block& wanted, std::size_t block)
{
    const std::uint32_t end = sieveBlockEnd(block);
    const std::uint32_t dropped = sieveBlockEnd(block - 1) % numbersInWord;
    const std::uint32_t begin = sieveBlockEnd(block - 1) - dropped;
    std::array<std::uint64_t, longestBlock / numbersInWord> odds{};
    const Composites composites = std::span(odds).first((end - begin) / numbersInWord);
    crossOffPatterns(composites, begin);
    composites[0] |= (std::uint64_t{1} << dropped / 2) - 1;
    for (std::size_t i = firstWithoutPattern; i < smallPrimeCount; ++i) {
        const std::uint32_t prime = smallPrimes[i];
        if (prime * prime >= end)
            break;
        crossOffMultiples(composites, begin, prime);
    }

    std::size_t count = composites.size() * wordBits;
    for (const std::uint64_t word : composites)
        count -= static_cast<std::size_t>(std::popcount(word));
    if (!makeRoom(wanted, count))
        return;
    std::uint32_t first = begin + 1;
    for (const std::uint64_t word : composites) {
        for (std::uint64_t left = ~word; left != 0; left &= left - 1)
            wanted.primes[wanted.count++] =
                first + 2 * static_cast<std::uint32_t>(std::countr_zero(left));
        first += numbersInWord;
    }
}

void findPrimes(Block& wanted, std::size_t block)
{
    if (block == 0)
        copySmallPrimes(wanted);
    else
        sieveBlock(wanted, block);
}

} // namespace

std::span<const std::uint32_t> sievePrimes(std::size_t block)
{
    assert(block < sieveBlockLimit);
    Block& wanted = blocks[block];
    std::call_once(wanted.made, findPrimes, std::ref(wanted), block);
    return {wanted.primes.get(), wanted.count};
}

std::span<const std::uint32_t> takePrimes(PrimeCursor& cursor, std::size_t count)
{
    assert(cursor.block < sieveBlockLimit);
    auto primes = sievePrimes(cursor.block);
    if (!primes.empty() && cursor.inBlock == primes.size()) {
        if (cursor.block + 1 == sieveBlockLimit)
            return {};
        primes = sievePrimes(++cursor.block);
        cursor.inBlock = 0;
    }
    if (primes.empty())
        return {};
    primes = primes.subspan(cursor.inBlock);
    primes = primes.first(std::min(count, primes.size()));
    cursor.inBlock += primes.size();
    cursor.passed += primes.size();
    return primes;
}
