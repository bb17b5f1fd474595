#include "prime/word_residues.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <openssl/crypto.h>

namespace
{

// The product of as many primes as fit groupBits. The number is reduced modulo the
// product, in Montgomery form: P. L. Montgomery, Modular multiplication without trial
// division, Mathematics of Computation 44 (1985).
struct Group {
    std::uint64_t product = 1;
    std::uint64_t inverse = 1; // of the product modulo 2^64
    std::uint64_t carry = 0;
    std::uint64_t power = 0; // a power of 2, modulo the product; below twice the product
    std::size_t first = 0;   // of its primes
    std::size_t end = 0;
};

// Two bits are left: a number below twice the product is squared without a reduction.
constexpr std::size_t groupBits = 62;

// Groups at once. Their chains of multiplications do not depend on each other, so the
// processor overlaps them.
constexpr std::size_t groupsAtOnce = 4;

using Groups = std::array<Group, groupsAtOnce>;

std::uint64_t highHalf(std::uint64_t a, std::uint64_t b)
{
    __extension__ using Product = unsigned __int128;
    return static_cast<std::uint64_t>(static_cast<Product>(a) * b >> 64);
}

// Newton's iteration. The first value has five right bits, and each round doubles them.
std::uint64_t inverseOf(std::uint64_t odd)
{
    std::uint64_t inverse = 3 * odd ^ 2;
    for (int rightBits = 5; rightBits < 64; rightBits *= 2)
        inverse *= 2 - odd * inverse;
    return inverse;
}

// a * b / 2^64 modulo the product, where a * b is below the product times 2^64.
std::uint64_t multiply(const Group& group, std::uint64_t a, std::uint64_t b)
{
    const std::uint64_t high = highHalf(a, b);
    const std::uint64_t multiple = highHalf(a * b * group.inverse, group.product);
    return high < multiple ? high + group.product - multiple : high - multiple;
}

Group takeGroup(std::span<const std::uint32_t> primes, std::size_t first,
                std::size_t length)
{
    Group group;
    group.first = first;
    group.end = std::min(first + length, primes.size());
    for (std::size_t i = first; i < group.end; ++i)
        group.product *= primes[i];
    group.inverse = inverseOf(group.product);
    return group;
}

// Each carry becomes -number / 2^(64 * words) modulo the product. From the least word up,
// a multiple of the product that ends in the same word is subtracted. T. Jebelean, An
// algorithm for exact division, Journal of Symbolic Computation 15 (1993).
void divideExactly(std::span<const std::uint64_t> words, Groups& groups)
{
    for (const std::uint64_t word : words)
        for (Group& group : groups) {
            const std::uint64_t borrow = word < group.carry ? 1 : 0;
            const std::uint64_t quotient = (word - group.carry) * group.inverse;
            group.carry = highHalf(quotient, group.product) + borrow;
        }
}

// Each power becomes 2^(64 + exponent).
void computePowers(std::uint64_t exponent, Groups& groups)
{
    for (Group& group : groups)
        group.power = 2 * ((0 - group.product) % group.product);
    for (int bit = static_cast<int>(std::bit_width(exponent)) - 2; bit >= 0; --bit)
        for (Group& group : groups)
            group.power = multiply(group, group.power, group.power)
                          << (exponent >> bit & 1);
}

} // namespace

void computeDistances(std::span<const std::uint64_t> words,
                      std::span<const std::uint32_t> primes, std::uint32_t* distances)
{
    assert(!words.empty() && !primes.empty());
    const auto width = static_cast<std::size_t>(std::bit_width(primes.back() | 1U));
    Groups groups;
    for (std::size_t first = 0; first < primes.size();) {
        for (Group& group : groups) {
            group = takeGroup(primes, first, groupBits / width);
            first = group.end;
        }
        divideExactly(words, groups);
        computePowers(64 * words.size(), groups);
        for (const Group& group : groups) {
            const std::uint64_t distance = multiply(group, group.carry, group.power);
            for (std::size_t i = group.first; i < group.end; ++i)
                distances[i] = static_cast<std::uint32_t>(distance % primes[i]);
        }
    }
    // The last groups' residues tell of the number.
    OPENSSL_cleanse(groups.data(), sizeof groups);
}
