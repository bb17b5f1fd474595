#include "prime/search_sieve.h"

#include "prime/candidate_sieve.h"
#include "prime/shortcuts.h"
#include "prime/sieve_primes.h"
#include "prime/small_primes.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <iterator>
#include <limits>
#include <span>

namespace
{

constexpr std::uint32_t wordBits = 64;

// Windows end well before an index overflows; the search then starts over.
constexpr std::uint32_t largestIndex = std::uint32_t{1} << 30;

// How a size is sieved. Measured: a prime is sieved while it costs less than the
// exponentiations that it saves, and while a worker's places take 22 MB at most. A
// slice costs about a quarter of an exponentiation, the beginning of a window at most
// about one.
struct Plan {
    int largestBits;
    std::size_t plainPrimes;
    std::size_t safePrimes;   // for p alone
    std::size_t halvesPrimes; // for p and (p-1)/2
    std::uint32_t plainWindow;
    std::uint32_t safeWindow;
    std::size_t slice;
};

constexpr int leastBits = 256;
constexpr Plan plans[] = {
    {383, 1'000, 6'000, 6'500, 1 << 10, 1 << 12, 150},
    {639, 3'000, 26'000, 28'000, 1 << 11, 1 << 13, 200},
    {895, 6'500, 80'000, 100'000, 1 << 12, 1 << 15, 400},
    {1279, 9'000, 90'000, 155'000, 1 << 12, 1 << 16, 1'000},
    {1791, 30'000, 600'000, 800'000, 1 << 12, 1 << 17, 2'500},
    {2559, 60'000, 1'500'000, 2'000'000, 1 << 13, 1 << 18, 4'000},
    {3583, 200'000, 4'000'000, 5'500'000, 1 << 13, 1 << 19, 8'000},
    {6143, 300'000, 5'500'000, 5'500'000, 1 << 14, 1 << 20, 10'000},
    {std::numeric_limits<int>::max(), 2'000'000, 5'500'000, 5'500'000, 1 << 15, 1 << 21,
     50'000},
};

// In a later window a prime is only crossed off, which costs so much less.
constexpr std::size_t knownPerFresh = 8;

void setBit(std::uint64_t* bits, std::uint32_t index)
{
    bits[index / wordBits] |= std::uint64_t{1} << (index % wordBits);
}

bool isBitSet(const std::uint64_t* bits, std::uint32_t index)
{
    return (bits[index / wordBits] >> (index % wordBits) & 1) != 0;
}

// The first index from `index` on whose bit is clear, or `length`.
std::uint32_t nextClear(const std::uint64_t* bits, std::uint32_t index,
                        std::uint32_t length)
{
    while (index < length) {
        const std::uint64_t word = bits[index / wordBits] >> (index % wordBits);
        const auto set = static_cast<std::uint32_t>(std::countr_one(word));
        // Shifted-in zeros end the run early: look again at the next word.
        if (set < wordBits - index % wordBits)
            return index + set;
        index += wordBits - index % wordBits;
    }
    return length;
}

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

// Sets the bits of the indices `index`, `index` + prime, ... in the window and
// returns the first one behind it.
std::uint32_t crossOffFrom(const SearchSieve& sieve, std::uint64_t* bits,
                           std::uint32_t prime, std::uint32_t index)
{
    const std::uint32_t end = sieve.windowStart + sieve.windowLength;
    for (; index < end; index += prime)
        setBit(bits, index - sieve.windowStart);
    return index;
}

// Crosses off every number of the window that `prime` divides and, with halves,
// every p with a (p-1)/2 that it divides: these lie where p is 1 modulo the prime,
// 1 / step further on.
void crossOff(const SearchSieve& sieve, std::uint64_t* bits, std::uint32_t prime,
              bool halves, std::uint32_t& nextIndex)
{
    if (nextIndex < sieve.windowStart) {
        const std::uint32_t past = (sieve.windowStart - nextIndex) % prime;
        nextIndex = sieve.windowStart + (past == 0 ? 0 : prime - past);
    }
    if (halves) {
        const std::uint32_t half = nextIndex + divideByStep(1, prime, sieve.step);
        crossOffFrom(sieve, bits, prime,
                     half < sieve.windowStart + prime ? half : half - prime);
    }
    nextIndex = crossOffFrom(sieve, bits, prime, nextIndex);
    assert(nextIndex >= sieve.windowStart + sieve.windowLength);
}

// Learns where the next primes stand that the sieve knows nothing of.
bool learnIndices(SearchSieve& sieve, std::span<const std::uint32_t> primes,
                  BN_CTX* context)
{
    // Also when it fails half way, and when a search that starts over forgets them.
    noteWritten(sieve.nextIndex, sieve.known + primes.size());
    std::uint32_t* values = sieve.nextIndex.get() + sieve.known;
    if (!computeGroupResidues(sieve.start.get(), primes, values, sieve.scratch, context))
        return false;
    for (std::size_t i = 0; i < primes.size(); ++i) {
        const std::uint32_t distance = values[i] == 0 ? 0 : primes[i] - values[i];
        values[i] = divideByStep(distance, primes[i], sieve.step);
    }
    sieve.known += primes.size();
    return true;
}

// The window's next primes that are not crossed off, at most `count`, all known or
// all fresh. Empty when there are none, and when memory is short: then for good,
// since the places of primes behind a missing block could not be told.
std::span<const std::uint32_t> nextPrimes(SearchSieve& sieve, std::size_t count)
{
    auto primes = sievePrimes(sieve.block);
    if (!primes.empty() && sieve.crossed == sieve.blockFirst + primes.size()) {
        sieve.blockFirst += primes.size();
        primes = sievePrimes(++sieve.block);
    }
    if (primes.empty())
        return {};
    const std::size_t end = sieve.crossed < sieve.known ? sieve.known : sieve.primeCount;
    primes = primes.subspan(sieve.crossed - sieve.blockFirst);
    return primes.first(std::min({count, end - sieve.crossed, primes.size()}));
}

// Crosses off these primes, the window's next, in `bits`.
bool crossOffNext(SearchSieve& sieve, std::span<const std::uint32_t> primes,
                  std::uint64_t* bits, bool halves, BN_CTX* context)
{
    if (sieve.crossed == sieve.known && !learnIndices(sieve, primes, context))
        return false;
    for (const std::uint32_t prime : primes)
        crossOff(sieve, bits, prime, halves, sieve.nextIndex[sieve.crossed++]);
    assert(sieve.crossed <= sieve.known && sieve.known <= sieve.primeCount);
    return true;
}

// Begins the window at windowStart: the small primes are crossed off, the others
// wait for their slices.
bool beginWindow(SearchSieve& sieve, BN_CTX* context)
{
    const std::size_t words = sieve.windowLength / wordBits;
    for (auto* bits : {&sieve.rejected, &sieve.composite}) {
        noteWritten(*bits, words);
        std::fill_n(bits->get(), words, 0);
    }
    sieve.crossed = 0;
    sieve.block = 0;
    sieve.blockFirst = 0;
    const auto primes = nextPrimes(sieve, sieve.smallCount);
    return primes.size() == sieve.smallCount &&
           crossOffNext(sieve, primes, sieve.rejected.get(), sieve.safe, context);
}

// Whether a window from index `windowStart` on lies below the top of the size.
bool fitsBelowTop(const SearchSieve& sieve, std::uint32_t windowStart)
{
    const std::uint64_t end = std::uint64_t{windowStart} + sieve.windowLength;
    if (end > largestIndex)
        return false;
    const SecretNumber top(BN_dup(sieve.start.get()));
    return top && BN_add_word(top.get(), end * sieve.step) &&
           BN_num_bits(top.get()) == sieve.bits;
}

// Starts over at `candidate`, which nextCandidate yielded.
bool beginSearch(SearchSieve& sieve, const BIGNUM* candidate, BN_CTX* context)
{
    sieve.start.reset(BN_dup(candidate));
    sieve.known = 0;
    sieve.windowStart = 0;
    sieve.position = 0;
    return sieve.start && fitsBelowTop(sieve, 0) && beginWindow(sieve, context);
}

// Moves to the next number of the window, or of the windows after it, that has no
// small factor. Returns how many steps it lies ahead; 0 when the size ends before.
std::uint32_t advance(SearchSieve& sieve, BN_CTX* context)
{
    const std::uint32_t before = sieve.windowStart + sieve.position;
    sieve.position =
        nextClear(sieve.rejected.get(), sieve.position + 1, sieve.windowLength);
    while (sieve.position == sieve.windowLength) {
        if (!fitsBelowTop(sieve, sieve.windowStart + sieve.windowLength))
            return 0;
        sieve.windowStart += sieve.windowLength;
        if (!beginWindow(sieve, context))
            return 0;
        sieve.position = nextClear(sieve.rejected.get(), 0, sieve.windowLength);
    }
    return sieve.windowStart + sieve.position - before;
}

} // namespace

SearchSieve makeSearchSieve(int bits, int mode)
{
    SearchSieve sieve;
    sieve.bits = bits;
    if (!shortcutsEnabled || (mode & modeFromBase) == 0 || bits < leastBits)
        return sieve;

    const Plan& plan =
        *std::find_if(std::begin(plans), std::end(plans),
                      [bits](const Plan& p) { return bits <= p.largestBits; });
    sieve.safe = (mode & modeSafe) != 0;
    sieve.halves = sieve.safe && eventsUnwatched;
    sieve.step = sieve.safe ? 4 : 2;
    sieve.smallCount = static_cast<std::size_t>(trialDivisions(bits)) - 1;
    const std::size_t safePrimes = sieve.halves ? plan.halvesPrimes : plan.safePrimes;
    sieve.primeCount = sieve.safe ? safePrimes : plan.plainPrimes;
    sieve.sliceLength = plan.slice;

    const std::uint32_t length = sieve.safe ? plan.safeWindow : plan.plainWindow;
    sieve.scratch = {BigNumber(BN_new()), SecretNumber(BN_new())};
    if (sieve.scratch.product && sieve.scratch.remainder &&
        allocateSecret(sieve.nextIndex, sieve.primeCount) &&
        allocateSecret(sieve.rejected, length / wordBits) &&
        allocateSecret(sieve.composite, length / wordBits))
        sieve.windowLength = length;
    return sieve;
}

int nextSievedCandidate(SearchSieve& sieve, BIGNUM* candidate, int mode,
                        std::uint16_t* residues, BN_CTX* context)
{
    if (sieve.start) {
        const std::uint32_t steps = advance(sieve, context);
        if (steps != 0)
            return BN_add_word(candidate, std::uint64_t{steps} * sieve.step);
        sieve.start.reset();
    }
    if (!nextCandidate(candidate, sieve.bits, mode, residues, context))
        return 0;
    if (sieve.windowLength > 0 && !beginSearch(sieve, candidate, context))
        sieve.start.reset();
    return 1;
}

void sieveSlice(SearchSieve& sieve, BN_CTX* context)
{
    if (!sieve.start)
        return;
    for (std::size_t left = sieve.sliceLength * knownPerFresh; left > 0;) {
        const std::size_t cost = sieve.crossed < sieve.known ? 1 : knownPerFresh;
        const auto primes = nextPrimes(sieve, (left + cost - 1) / cost);
        if (primes.empty() ||
            !crossOffNext(sieve, primes, sieve.composite.get(), sieve.halves, context))
            return;
        left -= std::min(left, primes.size() * cost);
    }
}

bool knowsFactor(const SearchSieve& sieve)
{
    return sieve.start && isBitSet(sieve.composite.get(), sieve.position);
}
