// Measures what the sieve's plan rests on: how many larger primes can be sieved in the
// time of one exponentiation of a size. Prints the table of costs and the plan that
// follows from it.
#include "bench/bare_exponentiation.h"
#include "bench/bases.h"
#include "bench/cpu_time.h"
#include "prime/candidate_sieve.h"
#include "prime/search_sieve.h"
#include "prime/shortcuts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <vector>

namespace
{

constexpr int rounds = 7;
constexpr int mode = modeFromBase | modeSafe;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double secondsOfAnExponentiation(int bits)
{
    const BareExponentiation bare = makeBareExponentiation(bits);
    const int count = std::max(1, 40'000'000 / (bits * bits / 1000 * bits));
    const double start = cpuSeconds();
    for (int i = 0; i < count; ++i)
        if (!exponentiate(bare))
            throw std::bad_alloc();
    return (cpuSeconds() - start) / count;
}

// The time for one prime, over the first slices: most searches end within them.
double secondsOfAPrime(int bits)
{
    const Context context(BN_CTX_new());
    std::array<std::uint16_t, smallPrimeCount> residues{};
    const SievePlan plan = planSieve(bits, mode);
    SearchSieve sieve = makeSearchSieve(bits, plan);
    const BigNumber number = makeBase(bits, mode, 0);
    if (!context ||
        !nextSievedCandidate(sieve, number.get(), mode, residues.data(), context.get()))
        throw std::bad_alloc();
    const std::size_t before = sieve.larger.passed;
    const double start = cpuSeconds();
    for (int i = 0; i < 40; ++i)
        sieveSlice(sieve, context.get());
    return (cpuSeconds() - start) / static_cast<double>(sieve.larger.passed - before);
}

void measure(int bits)
{
    std::vector<double> exponentiations;
    std::vector<double> costs;
    secondsOfAPrime(bits); // finds the primes
    for (int i = 0; i < rounds; ++i) {
        exponentiations.push_back(secondsOfAnExponentiation(bits));
        costs.push_back(exponentiations.back() / secondsOfAPrime(bits));
    }
    const double cost = median(costs);
    const SievePlan plan = planSieve(bits, mode);
    std::printf("%5d %10.1f %8.0f %10zu %10zu %10zu %10u %8zu\n", bits,
                median(exponentiations) * 1e6, cost,
                worthwhilePrimes(bits, false, false, cost),
                worthwhilePrimes(bits, true, false, cost),
                worthwhilePrimes(bits, true, true, cost), plan.reach, plan.primeCount);
    std::fflush(stdout);
}

} // namespace

int main()
{
    eventsUnwatched = true;
    std::printf(" bits        us     cost      plain       safe     halves      reach"
                "     used\n");
    for (const int bits : {256, 384, 512, 768, 1024, 1536, 2048, 3072, 4096, 8192})
        measure(bits);
    return 0;
}
