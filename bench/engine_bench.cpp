// The parts of the engine, each alone, by size of the number.
#include "bench/bare_exponentiation.h"
#include "bench/bases.h"
#include "prime/candidate_sieve.h"
#include "prime/miller_rabin.h"
#include "prime/random_below.h"
#include "prime/small_primes.h"

#include <benchmark/benchmark.h>
#include <vector>

namespace
{

constexpr int anyMode = 0; // only makes the bases of the benchmarks differ

int bitsOf(const benchmark::State& state)
{
    return static_cast<int>(state.range(0));
}

// A composite that the sieve lets through.
BigNumber sievedComposite(int bits, BN_CTX* context)
{
    std::vector<std::uint16_t> residues(smallPrimeCount);
    BigNumber number = makeBase(bits, anyMode, 0);
    do
        nextCandidate(number.get(), bits, modeFromBase, residues.data(), context);
    while (isPrime(number.get(), 1, context, 0, nullptr) == 1);
    return number;
}

void exponentiation(benchmark::State& state)
{
    const BareExponentiation bare = makeBareExponentiation(bitsOf(state));
    while (state.KeepRunning())
        if (!exponentiate(bare))
            state.SkipWithError("no exponentiation");
}

void millerRabinIteration(benchmark::State& state)
{
    const Context context(BN_CTX_new());
    const BigNumber composite = sievedComposite(bitsOf(state), context.get());
    PrimeTestStatus status = primeTestProbablePrime;
    while (state.KeepRunning())
        if (!millerRabin(composite.get(), 1, context.get(), nullptr, &status))
            state.SkipWithError("no verdict");
}

void candidate(benchmark::State& state, int mode)
{
    const int bits = bitsOf(state);
    const Context context(BN_CTX_new());
    std::vector<std::uint16_t> residues(smallPrimeCount);
    const BigNumber number = makeBase(bits, mode, 0);
    while (state.KeepRunning())
        if (!nextCandidate(number.get(), bits, mode, residues.data(), context.get()))
            state.SkipWithError("no candidate");
}

void witnessDraw(benchmark::State& state)
{
    const BigNumber bound = makeBase(bitsOf(state), anyMode, 0);
    const BigNumber witness(BN_new());
    while (state.KeepRunning())
        if (!getRandomBelow(witness.get(), bound.get()))
            state.SkipWithError("no witness");
}

void sizes(benchmark::internal::Benchmark* measured)
{
    for (const int bits : {512, 1024, 2048, 4096, 8192})
        measured->Arg(bits);
    measured->Unit(benchmark::kMicrosecond);
}

BENCHMARK(exponentiation)->Apply(sizes);
BENCHMARK(millerRabinIteration)->Apply(sizes);
BENCHMARK_CAPTURE(candidate, plain, modeFromBase)->Apply(sizes);
BENCHMARK_CAPTURE(candidate, safe, modeFromBase | modeSafe)->Apply(sizes);
BENCHMARK(witnessDraw)->Apply(sizes);

} // namespace
