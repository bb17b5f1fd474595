#include "ctl/estimate.h"

#include "prime/candidate_sieve.h"
#include "prime/miller_rabin.h"
#include "prime/search_sieve.h"
#include "prime/shortcuts.h"
#include "prime/sieve_plan.h"
#include "prime/sieve_primes.h"
#include "prime/small_primes.h"
#include "prime/strong_test.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <exception>
#include <mutex>
#include <new>
#include <numbers>
#include <numeric>
#include <openssl/rand.h>
#include <system_error>
#include <thread>
#include <uv.h>

namespace
{

using Clock = std::chrono::steady_clock;
using Way = ExponentiationWay;

constexpr double testSeconds = 0.035;
constexpr double firstSlicesSeconds = 0.006;
constexpr double middleSlicesSeconds = 0.004;

// Up to here all ways of a test can be tried in that time.
constexpr int mostTestedBits = 2048;
// Below it norv rejects by an iteration with a random witness.
constexpr int leastStrongTestBits = 512;
// Until norv searches, and from its end to that of its process: a search of 64 bits,
// which is nothing else, takes so long.
constexpr double startSeconds = 0.008;
// Multiplications of a sliding window of 6 bits, for each squaring.
constexpr double multiplicationsEach = 1.0 / 7;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

BigNumber require(BigNumber number)
{
    if (!number)
        throw std::bad_alloc();
    return number;
}

// An odd number with no small structure. Nothing secret: libcrypto's tests take as long
// for any.
BigNumber sampleNumber(int bits)
{
    BigNumber number = require(BigNumber(BN_new()));
    if (!BN_rand(number.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD))
        throw std::bad_alloc();
    return number;
}

struct Workbench {
    BigNumber first;
    BigNumber second;
    StrongTester tester;
    Context context;
};

// What was measured, in seconds. What interrupts and slows the measurements interrupts
// and slows a search, too: their mean is what it pays.
using Samples = std::vector<double>;

double meanOf(const Samples& samples)
{
    return std::accumulate(samples.begin(), samples.end(), 0.0) /
           static_cast<double>(samples.size());
}

// Calls `action` for so long, at least once, and returns the seconds of one call.
template <typename Action>
double timeCalls(double seconds, Action action)
{
    Samples samples;
    const Clock::time_point start = Clock::now();
    do {
        const Clock::time_point begin = Clock::now();
        action();
        samples.push_back(secondsSince(begin));
    } while (secondsSince(start) < seconds);
    return meanOf(samples);
}

// The seconds of one test by each way.
using SecondsOfWays = std::array<double, wayCount>;

double& of(SecondsOfWays& seconds, Way way)
{
    return seconds[static_cast<std::size_t>(way)];
}

double timeOnce(const Workbench& bench, Way way)
{
    const Clock::time_point start = Clock::now();
    const bool two = way == Way::twoAtOnce;
    if (two)
        strongTestOfTwo(bench.tester, bench.first.get(), bench.second.get(),
                        bench.context.get());
    else
        strongTest(bench.tester, bench.first.get(), way, bench.context.get());
    return secondsSince(start) / (two ? 2 : 1);
}

SecondsOfWays timeTests(const Workbench& bench)
{
    std::array<Samples, wayCount> samples;
    const Clock::time_point start = Clock::now();
    do {
        for (std::size_t way = 0; way < wayCount; ++way)
            samples[way].push_back(timeOnce(bench, static_cast<Way>(way)));
    } while (secondsSince(start) < testSeconds);
    SecondsOfWays seconds{};
    std::transform(samples.begin(), samples.end(), seconds.begin(), meanOf);
    return seconds;
}

// A squaring modulo a number of a size for which a whole test takes too long. All ways
// are made of them.
double timeSquaring(const Workbench& bench)
{
    if (!BN_MONT_CTX_set(bench.tester.montgomery.get(), bench.first.get(),
                         bench.context.get()) ||
        !BN_mod(bench.second.get(), bench.second.get(), bench.first.get(),
                bench.context.get()))
        throw std::bad_alloc();
    BIGNUM* square = bench.second.get();
    constexpr int count = 8;
    return timeCalls(testSeconds,
                     [&] {
                         for (int i = 0; i < count; ++i)
                             if (!BN_mod_mul_montgomery(square, square, square,
                                                        bench.tester.montgomery.get(),
                                                        bench.context.get()))
                                 throw std::bad_alloc();
                     }) /
           count;
}

double timeIteration(const Workbench& bench)
{
    return timeCalls(testSeconds, [&] {
        isPrime(bench.first.get(), 1, bench.context.get(), 0, nullptr);
    });
}

SievePlan planOf(int bits, bool safe)
{
    return planSieve(bits, modeFromBase | (safe ? modeSafe : 0));
}

// The prime of this index, 0 for the prime 2; a little less exact for small ones.
double primeAt(double index)
{
    const double n = std::max(index, 6.0);
    return n * (std::log(n) + std::log(std::log(n)) - 1);
}

// The block of the sieve's primes in which a prime near this number lies.
std::size_t blockOf(double prime)
{
    std::size_t block = 0;
    while (block + 1 < sieveBlockLimit && sieveBlockEnd(block) <= prime)
        ++block;
    return block;
}

int modeOf(const SievePlan& plan)
{
    return modeFromBase | (plan.safe ? modeSafe : 0);
}

// Begins a search's sieve at a candidate near the bench's number.
SearchSieve beginSieve(const Workbench& bench, const SievePlan& plan)
{
    SearchSieve sieve = makeSearchSieve(BN_num_bits(bench.first.get()), plan);
    const BigNumber candidate = require(BigNumber(BN_dup(bench.first.get())));
    std::array<std::uint16_t, smallPrimeCount> residues{};
    if (!nextSievedCandidate(sieve, candidate.get(), modeOf(plan), residues.data(),
                             bench.context.get()))
        throw std::bad_alloc();
    return sieve;
}

// Sieves a slice. Returns the seconds of one of its primes, 0 when none was left.
double timeSlice(SearchSieve& sieve)
{
    const std::size_t before = sieve.larger.passed;
    const Clock::time_point begin = Clock::now();
    sieveSlice(sieve);
    const std::size_t primes = sieve.larger.passed - before;
    return primes == 0 ? 0 : secondsSince(begin) / static_cast<double>(primes);
}

// The first primes, and the sieve's begin. They cross off the most numbers, and the
// process makes its tables of primes for them, as norv does in each search.
void timeFirstSlices(const Workbench& bench, const SievePlan& plan, MeasuredCosts& costs)
{
    const Clock::time_point start = Clock::now();
    SearchSieve sieve = beginSieve(bench, plan);
    costs.begin = secondsSince(start);
    const Clock::time_point begin = Clock::now();
    while (secondsSince(begin) < firstSlicesSeconds && timeSlice(sieve) > 0)
        ++costs.firstSlices;
    if (costs.firstSlices > 0)
        costs.firstSlice = secondsSince(begin) / costs.firstSlices;
}

// The seconds that one of the larger primes takes. Only the first of them cross off more
// than a few numbers: measured are primes from the middle, in a segment so short that
// they cross off none.
double timePrime(const Workbench& bench, SievePlan plan)
{
    constexpr std::uint32_t shortReach = 1 << 12;
    constexpr std::size_t shortSlice = 4096;
    if (plan.reach <= shortReach || plan.primeCount < 2 * plan.smallCount)
        return 0;
    plan.reach = plan.segmentLength = shortReach;
    plan.sliceLength = shortSlice;
    SearchSieve sieve = beginSieve(bench, plan);
    const std::size_t middle = plan.primeCount / 2;
    const std::size_t block = blockOf(primeAt(static_cast<double>(middle)));
    sieve.larger = {block, 0, middle};
    // The first slice may wait for the block's primes to be found.
    timeSlice(sieve);
    Samples samples;
    const Clock::time_point start = Clock::now();
    do {
        const double seconds = timeSlice(sieve);
        if (seconds == 0)
            break;
        samples.push_back(seconds);
    } while (secondsSince(start) < middleSlicesSeconds);
    return samples.empty() ? 0 : meanOf(samples);
}

// What the sieve leaves of the candidates, and what a candidate costs, while a search
// goes on.
struct SearchModel {
    SievePlan plan;
    double smallBound = 0;
    double candidatesInReach = 0; // after them the sieve starts over
    double meanCandidates = 0;    // of a whole search
    double bits = 0;
};

// norv gets -noPrompt, and shows its marks to nobody. Before any plan is made.
void planLikeNorv()
{
    eventsUnwatched = true;
}

SearchModel modelOf(int bits, bool safe)
{
    planLikeNorv();
    SearchModel model;
    model.plan = planOf(bits, safe);
    model.smallBound = smallPrimes[static_cast<std::size_t>(trialDivisions(bits)) - 1];
    const double left = shareLeft(model.smallBound, safe);
    model.candidatesInReach = model.plan.reach * left;
    model.meanCandidates = meanSteps(bits, safe) * left;
    model.bits = bits;
    return model;
}

// Seconds for the candidate that comes after `count` others.
double secondsOfCandidate(const SearchModel& model, const MeasuredCosts& costs,
                          double count)
{
    const SievePlan& plan = model.plan;
    double bound = model.smallBound;
    double seconds = 0;
    if (plan.reach > 0) {
        const double since = std::fmod(count, model.candidatesInReach);
        const double primes = static_cast<double>(plan.smallCount) +
                              since * static_cast<double>(plan.sliceLength);
        const double most = static_cast<double>(plan.primeCount);
        bound = std::max(bound, primeAt(std::min(primes, most)));
        if (primes < most)
            seconds += since < costs.firstSlices ? costs.firstSlice : costs.slice;
    }
    const double left =
        shareLeft(bound, plan.safe) / shareLeft(model.smallBound, plan.safe);
    seconds += left * costs.rejection;
    // Where p is prime, its half is tested, too.
    if (plan.safe)
        seconds += left * costs.halfTest * std::exp(std::numbers::egamma) *
                   std::log(bound) / (model.bits * std::numbers::ln2);
    return seconds;
}

void takeTestCosts(const Workbench& bench, int bits, MeasuredCosts& costs)
{
    if (bits > mostTestedBits) {
        const double squarings = bits * timeSquaring(bench);
        costs.rejection = costs.halfTest = squarings;
        costs.iteration = costs.loneIteration = squarings * (1 + multiplicationsEach);
        return;
    }
    if (bits < leastStrongTestBits) {
        costs.rejection = costs.halfTest = timeIteration(bench);
        costs.iteration = costs.loneIteration = costs.rejection;
        return;
    }
    SecondsOfWays seconds = timeTests(bench);
    const double single =
        std::min(of(seconds, Way::slidingWindow), of(seconds, Way::constantTime));
    costs.rejection = *std::min_element(seconds.begin(), seconds.end());
    costs.halfTest = std::min(single, of(seconds, Way::squarings));
    costs.iteration = std::min(single, of(seconds, Way::twoAtOnce));
    costs.loneIteration = single;
}

MeasuredCosts measureOnThisThread(int bits, bool safe)
{
    const Workbench bench{sampleNumber(bits), sampleNumber(bits), makeStrongTester(),
                          Context(BN_CTX_new())};
    if (!bench.tester.montgomery || !bench.tester.second || !bench.context)
        throw std::bad_alloc();
    MeasuredCosts costs;
    const SievePlan plan = planOf(bits, safe);
    // In a search that takes longer they do not count.
    if (bits <= mostTestedBits && plan.reach > 0)
        timeFirstSlices(bench, plan, costs);
    costs.slice = timePrime(bench, plan) * static_cast<double>(plan.sliceLength);
    takeTestCosts(bench, bits, costs);
    return costs;
}

constexpr double MeasuredCosts::*allCosts[] = {
    &MeasuredCosts::rejection,     &MeasuredCosts::halfTest,  &MeasuredCosts::iteration,
    &MeasuredCosts::loneIteration, &MeasuredCosts::slice,     &MeasuredCosts::begin,
    &MeasuredCosts::firstSlices,   &MeasuredCosts::firstSlice};

} // namespace

MeasuredCosts measureCosts(int bits, bool safe, int threads)
{
    // Threads that search at once slow each other down, more or less, by the processor.
    const auto count = static_cast<std::size_t>(std::min(threads, usableProcessors()));
    std::vector<MeasuredCosts> measured(count);
    std::exception_ptr failure;
    std::mutex guard;
    const auto measure = [&](MeasuredCosts& costs) {
        try {
            costs = measureOnThisThread(bits, safe);
        } catch (...) {
            const std::lock_guard lock(guard);
            failure = std::current_exception();
        }
    };
    planLikeNorv();
    std::size_t started = 1;
    {
        std::vector<std::jthread> others;
        try {
            for (; started < count; ++started)
                others.emplace_back(
                    [&measure, &costs = measured[started]] { measure(costs); });
        } catch (const std::system_error&) {
            // A limit on threads. norv needs fewer, one for each that searches.
        }
        measure(measured[0]);
    }
    if (failure)
        std::rethrow_exception(failure);
    measured.resize(started);
    MeasuredCosts mean;
    for (const MeasuredCosts& costs : measured)
        for (const auto cost : allCosts)
            mean.*cost += costs.*cost / static_cast<double>(started);
    return mean;
}

Estimate estimateSearch(int bits, bool safe, int threads, int cores,
                        const MeasuredCosts& costs)
{
    const SearchModel model = modelOf(bits, safe);
    const double slowness = std::max(1.0, static_cast<double>(threads) / cores);
    const double confirming =
        iterationsFor(bits) * (costs.iteration + (safe ? costs.loneIteration : 0));

    // Each point lies a little further in the search than the one before it.
    constexpr double growth = 1.03;
    constexpr double mostMeans = 10;
    Estimate estimate;
    double count = 0; // candidates of each thread
    double seconds = startSeconds + slowness * (costs.begin + confirming);
    double chance = 0;
    estimate.mean = seconds;
    estimate.points.push_back({seconds, chance});
    while (count * threads < mostMeans * model.meanCandidates) {
        const double step = std::min(std::max(0.01, count * (growth - 1)),
                                     0.1 * model.meanCandidates / threads);
        const double spent =
            slowness * step * secondsOfCandidate(model, costs, count + step / 2);
        count += step;
        const double next = 1 - std::exp(-count * threads / model.meanCandidates);
        estimate.mean += spent * (1 - (chance + next) / 2);
        seconds += spent;
        chance = next;
        estimate.points.push_back({seconds, chance});
    }
    return estimate;
}

double chanceBy(const Estimate& estimate, double seconds)
{
    const auto& points = estimate.points;
    const auto after =
        std::find_if(points.begin(), points.end(),
                     [seconds](const auto& point) { return point.seconds > seconds; });
    if (after == points.begin())
        return 0;
    const auto before = after - 1;
    if (after == points.end())
        return before->chance;
    const double part = (seconds - before->seconds) / (after->seconds - before->seconds);
    return before->chance + part * (after->chance - before->chance);
}

double secondsFor(const Estimate& estimate, double chance)
{
    const auto& points = estimate.points;
    const auto after =
        std::find_if(points.begin(), points.end(),
                     [chance](const auto& point) { return point.chance > chance; });
    if (after == points.begin())
        return points.front().seconds;
    if (after == points.end())
        return points.back().seconds;
    const auto before = after - 1;
    const double part = (chance - before->chance) / (after->chance - before->chance);
    return before->seconds + part * (after->seconds - before->seconds);
}

int usableProcessors()
{
    return static_cast<int>(uv_available_parallelism());
}
