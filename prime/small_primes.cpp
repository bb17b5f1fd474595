#include "prime/small_primes.h"

namespace
{

// The sieve of Eratosthenes, run by the compiler.
constexpr std::array<std::uint16_t, smallPrimeCount> findSmallPrimes()
{
    std::array<bool, largestSmallPrime + 1> composite{};
    std::array<std::uint16_t, smallPrimeCount> primes{};
    std::size_t count = 0;
    for (std::uint32_t i = 2; i <= largestSmallPrime; ++i) {
        if (composite[i])
            continue;
        primes[count++] = static_cast<std::uint16_t>(i);
        for (std::uint32_t multiple = i * i; multiple <= largestSmallPrime; multiple += i)
            composite[multiple] = true;
    }
    return primes;
}

} // namespace

constexpr std::array<std::uint16_t, smallPrimeCount> smallPrimes = findSmallPrimes();

static_assert(smallPrimes.back() == largestSmallPrime);

int trialDivisions(int bits)
{
    if (bits <= 512)
        return 64;
    if (bits <= 1024)
        return 128;
    if (bits <= 2048)
        return 384;
    if (bits <= 4096)
        return 1024;
    return 2048;
}

std::uint64_t maxDeltaFor(int bits)
{
    const auto used = static_cast<std::size_t>(trialDivisions(bits));
    return ~std::uint64_t{smallPrimes[used - 1]};
}
