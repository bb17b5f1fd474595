#include "prime/search_sieve.h"

#include "prime/candidate_sieve.h"
#include "prime/word_residues.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <span>

namespace
{

std::uint32_t halveModulo(std::uint32_t value, std::uint32_t prime)
{
    return (value % 2 == 0 ? value : value + prime) / 2;
}

// value / step modulo an odd prime; step is 2 or 4.
std::uint32_t divideByStep(std::uint32_t value, std::uint32_t prime, std::uint32_t step)
{
    value = halveModulo(value, prime);
    return step == 4 ? halveModulo(value, prime) : value;
}

// The least index where the prime divides (p-1)/2, from the least index where it divides
// p. It divides (p-1)/2 where p is 1 modulo the prime; that is 1 / step further on.
std::uint32_t indexOfHalf(std::uint32_t index, std::uint32_t prime, std::uint32_t step)
{
    const std::uint32_t half = index + divideByStep(1, prime, step);
    return half < prime ? half : half - prime;
}

std::size_t wordCount(const SearchSieve& sieve)
{
    return (static_cast<std::size_t>(sieve.bits) + 63) / 64;
}

// Finds for each prime the least index of a number that it divides.
void findIndices(const SearchSieve& sieve, std::span<const std::uint32_t> primes,
                 std::uint32_t* indices)
{
    computeDistances({sieve.words.get(), wordCount(sieve)}, primes, indices);
    for (std::size_t i = 0; i < primes.size(); ++i)
        indices[i] = divideByStep(indices[i], primes[i], sieve.plan.step);
}

// Copies the start to `words`. Returns false when the library call fails.
bool storeWords(SearchSieve& sieve)
{
    static_assert(std::endian::native == std::endian::little);
    const std::size_t count = wordCount(sieve);
    noteWritten(sieve.words, count);
    const auto size = static_cast<int>(count * sizeof(std::uint64_t));
    return BN_bn2lebinpad(sieve.start.get(),
                          reinterpret_cast<unsigned char*>(sieve.words.get()),
                          size) == size;
}

std::span<const std::uint32_t> smallSievePrimes(const SearchSieve& sieve)
{
    const auto primes = sievePrimes(0);
    return primes.first(std::min(sieve.plan.smallCount, primes.size()));
}

// Begins the segment at index `first`, which is 0 or the end of the segment before, and
// crosses off the multiples of the small primes.
void rejectFrom(SearchSieve& sieve, std::uint32_t first)
{
    beginSegment(sieve.rejected, first);
    const auto primes = smallSievePrimes(sieve);
    for (std::size_t i = 0; i < primes.size(); ++i) {
        std::uint32_t& next = sieve.smallNext[i];
        assert(next >= first && next - first < primes[i]);
        if (sieve.plan.safe)
            crossOff(sieve.rejected, primes[i],
                     first + indexOfHalf(next - first, primes[i], sieve.plan.step));
        next = crossOff(sieve.rejected, primes[i], next);
    }
}

// Whether all numbers of a segment from the index `first` on have the search's size.
// Returns false also when memory is short.
bool fitsBelowTop(const SearchSieve& sieve, std::uint32_t first)
{
    const std::uint64_t end = std::uint64_t{first} + sieve.rejected.length;
    const SecretNumber top(BN_dup(sieve.start.get()));
    return top && BN_add_word(top.get(), end * sieve.plan.step) &&
           BN_num_bits(top.get()) == sieve.bits;
}

// Begins, or begins again, at `candidate`, which nextCandidate yielded. Returns false
// when the first segment does not fit below the top of the size, when a library call
// fails or when memory is short.
bool beginSearch(SearchSieve& sieve, const BIGNUM* candidate)
{
    const auto primes = smallSievePrimes(sieve);
    sieve.start.reset(BN_dup(candidate));
    if (!sieve.start || primes.size() != sieve.plan.smallCount ||
        !fitsBelowTop(sieve, 0) || !storeWords(sieve))
        return false;
    noteWritten(sieve.smallNext, primes.size());
    findIndices(sieve, primes, sieve.smallNext.get());
    rejectFrom(sieve, 0);
    beginSegment(sieve.composite, 0);
    sieve.larger = {0, primes.size(), primes.size()};
    sieve.index = 0;
    return true;
}

// Moves to the next number that has no small factor. Returns how many steps it lies
// ahead; 0 when the reach or the size ends before, or when memory is short.
std::uint32_t advance(SearchSieve& sieve)
{
    std::uint32_t next = nextLeft(sieve.rejected, sieve.index + 1);
    while (next == endOf(sieve.rejected)) {
        if (next == endOf(sieve.composite) || !fitsBelowTop(sieve, next))
            return 0;
        rejectFrom(sieve, next);
        next = nextLeft(sieve.rejected, next);
    }
    const std::uint32_t steps = next - sieve.index;
    sieve.index = next;
    return steps;
}

// Crosses off the multiples of the next larger primes, at most `count` of them. Returns
// how many primes these were; 0 when none are left or when a block of primes is missing.
std::size_t crossOffLarger(SearchSieve& sieve, std::size_t count)
{
    const std::size_t left = sieve.plan.primeCount - sieve.larger.passed;
    if (left == 0)
        return 0;
    const auto primes = takePrimes(sieve.larger, std::min({count, left, largerAtOnce}));
    if (primes.empty())
        return 0;
    noteWritten(sieve.indices, primes.size());
    std::uint32_t* indices = sieve.indices.get();
    findIndices(sieve, primes, indices);
    for (std::size_t i = 0; i < primes.size(); ++i) {
        crossOff(sieve.composite, primes[i], indices[i]);
        if (sieve.plan.halves)
            crossOff(sieve.composite, primes[i],
                     indexOfHalf(indices[i], primes[i], sieve.plan.step));
    }
    return primes.size();
}

} // namespace

SearchSieve makeSearchSieve(int bits, const SievePlan& plan)
{
    SearchSieve sieve;
    sieve.bits = bits;
    sieve.plan = plan;
    sieve.memory = reserveSieveMemory(sieve.plan);
    if (sieve.plan.reach == 0)
        return sieve;
    assert(plan.reach % plan.segmentLength == 0 && plan.smallCount <= plan.primeCount);
    if (!allocateSecret(sieve.words, wordCount(sieve)) ||
        !allocateSecret(sieve.smallNext, plan.smallCount) ||
        !allocateSecret(sieve.indices, largerAtOnce) ||
        !allocateSegment(sieve.rejected, sieve.plan.segmentLength) ||
        !allocateSegment(sieve.composite, sieve.plan.reach) ||
        !leavesMemory(segmentBytes(sieve.plan))) {
        // An idle sieve holds nothing.
        SearchSieve idle;
        idle.bits = bits;
        idle.plan = plan;
        idle.plan.reach = 0;
        return idle;
    }
    return sieve;
}

int nextSievedCandidate(SearchSieve& sieve, BIGNUM* candidate, int mode,
                        std::uint16_t* residues, BN_CTX* context)
{
    assert(((mode & modeSafe) != 0) == sieve.plan.safe);
    if (sieve.start) {
        const std::uint32_t steps = advance(sieve);
        if (steps != 0)
            return BN_add_word(candidate, std::uint64_t{steps} * sieve.plan.step);
        sieve.start.reset();
    }
    if (!nextCandidate(candidate, sieve.bits, mode, residues, context))
        return 0;
    if (sieve.plan.reach > 0 && !beginSearch(sieve, candidate))
        sieve.start.reset();
    return 1;
}

void sieveSlice(SearchSieve& sieve)
{
    if (!sieve.start)
        return;
    for (std::size_t left = sieve.plan.sliceLength; left > 0;) {
        const std::size_t count = crossOffLarger(sieve, left);
        if (count == 0)
            return;
        left -= count;
    }
}

bool knowsFactor(const SearchSieve& sieve)
{
    return sieve.start && isCrossedOff(sieve.composite, sieve.index);
}

std::uint32_t stepsToNextUnknown(const SearchSieve& sieve)
{
    if (!sieve.start)
        return 0;
    std::uint32_t later = nextLeft(sieve.rejected, sieve.index + 1);
    while (later < endOf(sieve.rejected) && isCrossedOff(sieve.composite, later))
        later = nextLeft(sieve.rejected, later + 1);
    return later < endOf(sieve.rejected) ? later - sieve.index : 0;
}
