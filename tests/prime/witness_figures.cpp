// How often the test lets composites pass that are made to pass, with the witnesses of a
// run, drawn from the clocks: of one iteration and of all. Beside it the share that
// witnesses of a good generator let pass, judged by GMP.
//
//   norv_witness_figures [TRIALS]   for each size; a tenth of it for 2048 bits
#include "prime/miller_rabin.h"

#include "tests/prime/engine.h"
#include "tests/prime/related_primes.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr int defaultTrials = 100'000;
constexpr int largestBits = 2048;

struct Passed {
    int one = 0;
    int all = 0;
    int good = 0;
};

using Composites = std::vector<std::pair<std::string, BigNumber>>;

Composites compositesOf(int bits)
{
    // Large ones are rare.
    const std::uint32_t seeds = bits == largestBits ? 20 : 400;
    std::set<std::string> digits;
    for (std::uint32_t seed = 1; seed <= seeds; ++seed)
        digits.insert(productOfRelatedPrimes(bits, seed));
    Composites composites;
    for (const std::string& number : digits)
        composites.emplace_back(number, fromHex(number));
    return composites;
}

Passed tryAll(const Composites& composites, int trials)
{
    Passed passed;
    const Context context = newContext();
    std::mt19937 generator(1); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    for (int i = 0; i < trials; ++i) {
        const auto& composite =
            composites[static_cast<std::size_t>(i) % composites.size()];
        const std::string& digits = composite.first;
        const BigNumber& number = composite.second;
        const auto tested = [&](int checks) {
            return isPrime(number.get(), checks, context.get(), 0, nullptr) == 1 ? 1 : 0;
        };
        passed.one += tested(1);
        passed.all += tested(0);
        // Below any of the numbers.
        const unsigned long witness = 2 + generator() % (1UL << 29);
        passed.good += oracle::passesTest(digits, witness) ? 1 : 0;
    }
    return passed;
}

double percent(int count, int trials)
{
    return 100.0 * count / trials;
}

} // namespace

int main(int argc, char** argv)
{
    const int trials =
        argc > 1 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : defaultTrials;
    if (trials < 10)
        return 1;
    std::printf("Composites (k+1)(2k+1) that pass, in percent of the trials:\n"
                "bits  numbers  trials  one iteration  all 64  one, good witness\n");
    for (const int bits : {32, 64, 128, 256, 512, 1024, largestBits}) {
        const Composites composites = compositesOf(bits);
        const int count = bits == largestBits ? trials / 10 : trials;
        const Passed passed = tryAll(composites, count);
        std::printf("%4d %8zu %7d %14.3f %7.3f %18.3f\n", bits, composites.size(), count,
                    percent(passed.one, count), percent(passed.all, count),
                    percent(passed.good, count));
        std::fflush(stdout);
    }
    return 0;
}
