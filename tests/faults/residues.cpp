#include "tests/faults/residues.h"

#include "prime/small_primes.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr std::size_t tellingRow = 12;

std::uint32_t primeOf(std::size_t index)
{
    return smallPrimes[index + 1];
}

// Whether entry `index` of a table holds what it would for these residues; step 0
// stands for the residue itself.
bool entryTells(const Residues& residues, std::size_t index, std::uint32_t entry,
                std::uint32_t step)
{
    if (step == 0)
        return entry == residues[index];
    return (residues[index] + std::uint64_t{step} * entry) % primeOf(index) == 0;
}

constexpr std::size_t stretchBits = 1024;
constexpr std::size_t fewestClear = 8;

// Whether bit `bit` of little-endian words is set.
bool isSet(const std::uint8_t* bits, std::size_t bit)
{
    return (bits[bit / 8] >> (bit % 8) & 1) != 0;
}

// The first of the numbers `first`, `first` + 1, ... whose distance, in steps, leads to
// a multiple of the prime.
std::size_t firstMultiple(std::uint32_t residue, std::uint32_t prime, std::uint32_t step,
                          std::size_t first)
{
    for (std::size_t index = first;; ++index)
        if ((residue + std::uint64_t{step} * index) % prime == 0)
            return index;
}

struct PrimeRange {
    std::size_t first;
    std::size_t count;
};
constexpr PrimeRange smallest{0, 17};   // 3 to 61
constexpr PrimeRange firstDeep{63, 40}; // 313 to 569

// Whether, of the bits from `bits` on, which stand for the numbers from index `first`
// on, those of all multiples of these primes are set.
bool multiplesSet(const Residues& residues, const PrimeRange& primes, std::uint32_t step,
                  const std::uint8_t* bits, std::size_t first)
{
    for (std::size_t i = primes.first; i < primes.first + primes.count; ++i) {
        const std::uint32_t prime = primeOf(i);
        for (std::size_t index = firstMultiple(residues[i], prime, step, first);
             index < first + stretchBits; index += prime)
            if (!isSet(bits, index - first))
                return false;
    }
    return true;
}

std::size_t clearBits(const std::uint8_t* bits)
{
    std::size_t clear = 0;
    for (std::size_t bit = 0; bit < stretchBits; ++bit)
        clear += isSet(bits, bit) ? 0 : 1;
    return clear;
}

} // namespace

Residues residuesOf(std::span<const std::uint8_t> number)
{
    Residues residues{};
    // Two primes at a time: their product is below 2^32.
    for (std::size_t i = 0; i < watchedPrimes; i += 2) {
        const std::uint64_t product = std::uint64_t{primeOf(i)} * primeOf(i + 1);
        std::uint64_t rest = 0;
        std::size_t at = 0;
        for (; (number.size() - at) % 4 != 0; ++at)
            rest = rest << 8 | number[at];
        for (; at < number.size(); at += 4) {
            const std::uint32_t word =
                std::uint32_t{number[at]} << 24 | std::uint32_t{number[at + 1]} << 16 |
                std::uint32_t{number[at + 2]} << 8 | number[at + 3];
            rest = (rest << 32 | word) % product;
        }
        residues[i] = static_cast<std::uint32_t>(rest % primeOf(i));
        residues[i + 1] = static_cast<std::uint32_t>(rest % primeOf(i + 1));
    }
    return residues;
}

bool tableTells(const Residues& residues, std::span<const std::uint8_t> block)
{
    const std::size_t count =
        std::min(block.size() / sizeof(std::uint32_t), watchedPrimes);
    for (const std::uint32_t step : {0U, 2U, 4U}) {
        std::size_t row = 0;
        for (std::size_t i = 0; i < count; ++i) {
            std::uint32_t entry = 0;
            std::memcpy(&entry, block.data() + i * sizeof entry, sizeof entry);
            row = entryTells(residues, i, entry, step) ? row + 1 : 0;
            if (row == tellingRow)
                return true;
        }
    }
    return false;
}

bool numberTells(const Residues& residues, const Residues& other)
{
    std::size_t row = 0;
    for (std::size_t i = 0; i < watchedPrimes && row < tellingRow; ++i)
        row = other[i] == residues[i] ? row + 1 : 0;
    return row == tellingRow;
}

bool bitmapTells(const Residues& residues, std::span<const std::uint8_t> block)
{
    for (std::size_t first = 0; first + stretchBits <= block.size() * 8;
         first += stretchBits) {
        const std::uint8_t* bits = block.data() + first / 8;
        for (const PrimeRange& primes : {smallest, firstDeep})
            for (const std::uint32_t step : {2U, 4U})
                if (multiplesSet(residues, primes, step, bits, first) &&
                    clearBits(bits) >= fewestClear)
                    return true;
    }
    return false;
}
