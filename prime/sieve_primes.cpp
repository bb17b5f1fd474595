#include "prime/sieve_primes.h"

#include "prime/small_primes.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <functional>
#include <memory>
#include <mutex>
#include <new>

namespace
{

constexpr std::size_t oddsInBlock = sieveBlockSpan / 2;

struct Block {
    std::once_flag made;
    std::unique_ptr<std::uint32_t[]> primes; // null: memory was short
    std::size_t count = 0;
};

std::array<Block, sieveBlockLimit> blocks;

// The sieve of Eratosthenes over the odd numbers of one block. Throws nothing: an
// exception must not cross std::call_once, whose insides are the C library's.
void findPrimes(Block& wanted, std::size_t block)
{
    const std::size_t first = block * sieveBlockSpan + 1;
    const std::size_t end = first + sieveBlockSpan - 1;
    std::array<bool, oddsInBlock> composite{};
    for (std::size_t i = 1; i < smallPrimeCount; ++i) {
        const std::size_t prime = smallPrimes[i];
        const std::size_t square = prime * prime;
        if (square >= end)
            break;
        std::size_t multiple = square;
        if (square < first) {
            multiple = (first + prime - 1) / prime * prime;
            if (multiple % 2 == 0)
                multiple += prime;
        }
        for (std::size_t j = (multiple - first) / 2; j < oddsInBlock; j += prime)
            composite[j] = true;
    }

    // The first odd number of all is 1.
    composite[0] = composite[0] || block == 0;
    const auto count =
        static_cast<std::size_t>(std::count(composite.begin(), composite.end(), false));
    wanted.primes.reset(new (std::nothrow) std::uint32_t[count]);
    if (!wanted.primes)
        return;
    for (std::size_t j = 0; j < oddsInBlock; ++j)
        if (!composite[j])
            wanted.primes[wanted.count++] = static_cast<std::uint32_t>(first + 2 * j);
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
