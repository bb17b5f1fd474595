// Measures what the sieve's plan rests on: how many larger primes can be sieved in the
// time of one rejection of a size, by an iteration with a witness and by the fastest way.
// Prints both costs, the numbers of primes that follow from the first one, and for
// comparison the reach and the primes of the present plan.
#include "bench/bare_exponentiation.h"
#include "bench/bases.h"
#include "bench/cpu_time.h"
#include "prime/candidate_sieve.h"
#include "prime/search_sieve.h"
#include "prime/shortcuts.h"
#include "prime/strong_test.h"

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

struct Rejections {
    const char* way;
    double seconds; // for one of them
};

// By the fastest way of strong test.
Rejections fastestRejections(int bits)
{
    struct Row {
        ExponentiationWay way;
        const char* name;
    };
    constexpr Row rows[] = {{ExponentiationWay::slidingWindow, "sliding window"},
                            {ExponentiationWay::constantTime, "constant time"},
                            {ExponentiationWay::twoAtOnce, "two at once"},
                            {ExponentiationWay::squarings, "squarings"}};
    const Context context(BN_CTX_new());
    const StrongTester tester = makeStrongTester();
    const BigNumber number = makeBase(bits, mode, 0);
    if (!context || !BN_set_bit(number.get(), 0))
        throw std::bad_alloc();
    const int count = std::max(1, 20'000'000 / (bits * bits / 1000 * bits));
    Rejections fastest{"", 0};
    for (const auto& [way, name] : rows) {
        const bool two = way == ExponentiationWay::twoAtOnce;
        const double start = cpuSeconds();
        for (int i = 0; i < count; ++i)
            if ((two ? strongTestOfTwo(tester, number.get(), number.get(),
                                       context.get())[0]
                     : strongTest(tester, number.get(), way, context.get())) ==
                StrongVerdict::unknown)
                throw std::bad_alloc();
        const double seconds = (cpuSeconds() - start) / count / (two ? 2 : 1);
        if (fastest.seconds == 0 || seconds < fastest.seconds)
            fastest = {name, seconds};
    }
    return fastest;
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
        sieveSlice(sieve);
    return (cpuSeconds() - start) / static_cast<double>(sieve.larger.passed - before);
}

void measure(int bits)
{
    std::vector<double> exponentiations;
    std::vector<double> costs;
    std::vector<double> fastCosts;
    const char* way = "";
    secondsOfAPrime(bits); // finds the primes
    for (int i = 0; i < rounds; ++i) {
        exponentiations.push_back(secondsOfAnExponentiation(bits));
        const Rejections rejections = fastestRejections(bits);
        way = rejections.way;
        const double prime = secondsOfAPrime(bits);
        costs.push_back(exponentiations.back() / prime);
        fastCosts.push_back(rejections.seconds / prime);
    }
    const double cost = median(costs);
    const SievePlan plan = planSieve(bits, mode);
    std::printf("%5d %10.1f %8.0f %10.0f  %-14s %10zu %10zu %10zu %10u %8zu\n", bits,
                median(exponentiations) * 1e6, cost, median(fastCosts), way,
                worthwhilePrimes(bits, false, false, cost),
                worthwhilePrimes(bits, true, false, cost),
                worthwhilePrimes(bits, true, true, cost), plan.reach, plan.primeCount);
    std::fflush(stdout);
}

} // namespace

int main()
{
    eventsUnwatched = true;
    std::printf(
        " bits         us     cost    fastest  way                 plain       safe"
        "     halves      reach     used\n");
    for (const int bits : {256, 384, 512, 768, 1024, 1536, 2048, 3072, 4096, 8192})
        measure(bits);
    return 0;
}
