#include "prime/sieve_primes.h"

#include "prime/small_primes.h"

#include <array>
#include <mutex>
#include <new>
#include <vector>

namespace
{

constexpr std::size_t oddsInBlock = sieveBlockSpan / 2;

struct Block {
    std::once_flag made;
    std::vector<std::uint32_t> primes;
};

std::array<Block, sieveBlockLimit> blocks;

// The sieve of Eratosthenes over the odd numbers of one block.
std::vector<std::uint32_t> findPrimes(std::size_t block)
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

    std::vector<std::uint32_t> primes;
    // The first odd number of all is 1.
    for (std::size_t j = block == 0 ? 1 : 0; j < oddsInBlock; ++j)
        if (!composite[j])
            primes.push_back(static_cast<std::uint32_t>(first + 2 * j));
    return primes;
}

} // namespace

std::span<const std::uint32_t> sievePrimes(std::size_t block)
{
    Block& wanted = blocks[block];
    try {
        std::call_once(wanted.made, [&] { wanted.primes = findPrimes(block); });
    } catch (const std::bad_alloc&) {
        return {};
    }
    return wanted.primes;
}
