// Measures whole searches, each variant from the same bases in turn, so that a drift
// of the machine affects all variants alike. Prints a line a search, tab-separated; the
// first line names the fields.
//
// Variants: off (the plain search), watched, unwatched (shortcuts, without and with
// eventsUnwatched); libcrypto, gmp, botan (left out where it is not built in); bare,
// no search but a row of exponentiations.
//
//   --bits N  --mode plain|safe  --variants NAME,…  (a name may stand twice)
//   --bases N          so many bases
//   --first N          from this one on
//   --seconds S        begin no further base after S seconds, but at least three
//   --candidates N     stop each search after so many candidates; 0: never
#include "bench/bare_exponentiation.h"
#include "bench/bases.h"
#include "bench/cpu_time.h"
#include "bench/exponentiations.h"
#include "bench/peers.h"
#include "prime/events.h"
#include "prime/prime_generation.h"
#include "prime/shortcuts.h"
#include "tests/plain/plain_prime_generation.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

constexpr std::uint32_t leastBases = 3;
constexpr int bareCount = 32;

struct Options {
    int bits = 1024;
    bool safe = false;
    std::vector<std::string> variants;
    std::uint32_t bases = 10;
    std::uint32_t first = 0;
    double seconds = 1e9;
    int candidates = 0;
};

// What the callback of a search counts, and where it stops.
struct Progress {
    int candidates = 0;
    int limit = 0; // 0: none
};

struct Measured {
    double cpuSeconds;
    double wallSeconds;
    int candidates;
    Exponentiations exponentiations;
    bool found;
    BigNumber number; // where the search ended; null where it began at random
};

Options readOptions(int count, char** arguments)
{
    std::map<std::string, std::string> values;
    for (int i = 1; i + 1 < count; i += 2)
        values[arguments[i]] = arguments[i + 1];
    const auto number = [&values](const char* name, double standard) {
        return values.contains(name) ? std::stod(values[name]) : standard;
    };

    Options options;
    options.bits = static_cast<int>(number("--bits", options.bits));
    options.safe = values["--mode"] == "safe";
    options.bases = static_cast<std::uint32_t>(number("--bases", options.bases));
    options.first = static_cast<std::uint32_t>(number("--first", options.first));
    options.seconds = number("--seconds", options.seconds);
    options.candidates = static_cast<int>(number("--candidates", options.candidates));
    std::istringstream names(values["--variants"]);
    for (std::string name; std::getline(names, name, ',');)
        if (name != "botan" || botanIsBuiltIn)
            options.variants.push_back(name);
    return options;
}

int modeOf(const Options& options)
{
    return modeFromBase | (options.safe ? modeSafe : 0);
}

int countCandidates(int event, int number, BN_GENCB* callback)
{
    Progress& progress = *static_cast<Progress*>(BN_GENCB_get_arg(callback));
    if (event != candidateEvent)
        return 1;
    if (progress.limit != 0 && number >= progress.limit)
        return 0;
    ++progress.candidates;
    return 1;
}

// Whether it is a variant of norv's own search; sets the switch for it.
bool chooseOwnVariant(const std::string& name)
{
    eventsUnwatched = name == "unwatched";
    return name == "off" || name == "watched" || name == "unwatched";
}

bool exponentiateInARow(int bits)
{
    static const BareExponentiation bare = makeBareExponentiation(bits);
    bool done = true;
    for (int i = 0; i < bareCount; ++i)
        done = exponentiate(bare) && done;
    return done;
}

bool runOther(const std::string& name, const Options& options, BIGNUM* number,
              BN_GENCB* callback)
{
    if (name == "bare")
        return exponentiateInARow(options.bits);
    if (name == "libcrypto")
        return findWithLibcrypto(options.bits, options.safe, callback);
    if (name == "gmp" && !options.safe)
        // From an even number, norv goes up by 3.
        return BN_set_bit(number, 0) == 1 && findWithGmp(number);
    if (name == "botan")
        return findWithBotan(options.bits, options.safe);
    throw std::invalid_argument("no such variant: " + name);
}

Measured search(const std::string& variant, const Options& options, const BIGNUM* base,
                int candidateLimit)
{
    Progress progress{0, candidateLimit};
    const OwnedCallback callback(BN_GENCB_new());
    const Context context(BN_CTX_new());
    BigNumber number(BN_dup(base));
    if (!callback || !context || !number)
        throw std::bad_alloc();
    BN_GENCB_set(callback.get(), countCandidates, &progress);
    exponentiations = {};
    const bool own = chooseOwnVariant(variant);
    auto& generate = variant == "off" ? plainGeneratePrime : generatePrime;

    const auto wallStart = std::chrono::steady_clock::now();
    const double cpuStart = cpuSeconds();
    const bool found = own ? generate(number.get(), 0, modeOf(options), nullptr, nullptr,
                                      callback.get(), context.get()) == 1
                           : runOther(variant, options, number.get(), callback.get());
    const double cpu = cpuSeconds() - cpuStart;
    const std::chrono::duration<double> wall =
        std::chrono::steady_clock::now() - wallStart;
    if (own && found && exponentiations.count == 0)
        throw std::runtime_error("the exponentiations go past the counter");
    if (!own && variant != "gmp")
        number.reset();
    return {cpu,   wall.count(),     progress.candidates, exponentiations,
            found, std::move(number)};
}

void print(const Options& options, const std::string& variant, long index,
           const Measured& measured)
{
    std::printf("%d\t%s\t%s\t%ld\t%.9f\t%d\t%ld\t%.9f\t%.9f\t%d\n", options.bits,
                options.safe ? "safe" : "plain", variant.c_str(), index,
                measured.cpuSeconds, measured.candidates, measured.exponentiations.count,
                measured.exponentiations.seconds, measured.wallSeconds, measured.found);
    std::fflush(stdout);
}

// Makes the tables of primes, which a process makes once, before anything is measured.
// Prints what it took as the search of base -1.
void warmUp(const Options& options)
{
    const BigNumber base = makeBase(options.bits, modeOf(options), options.first);
    for (const std::string& variant : options.variants)
        if (chooseOwnVariant(variant) || variant == "bare")
            print(options, variant, -1, search(variant, options, base.get(), 1));
}

// A search that failed, and variants of one search that end at different numbers,
// give no valid figures.
void check(const Options& options, const Measured& measured, BigNumber& end)
{
    const bool stopped =
        options.candidates != 0 && measured.candidates == options.candidates;
    if (!measured.found && !stopped)
        throw std::runtime_error("a search failed");
    if (!measured.number)
        return;
    if (!end)
        end.reset(BN_dup(measured.number.get()));
    else if (BN_cmp(end.get(), measured.number.get()) != 0)
        throw std::runtime_error("two variants differ in where they end");
}

void measureBase(const Options& options, std::uint32_t index)
{
    const BigNumber base = makeBase(options.bits, modeOf(options), index);
    BigNumber end;
    for (std::size_t i = 0; i < options.variants.size(); ++i) {
        const std::string& variant =
            options.variants[(i + index) % options.variants.size()];
        const Measured measured =
            search(variant, options, base.get(), options.candidates);
        check(options, measured, end);
        print(options, variant, static_cast<long>(index), measured);
    }
}

void measure(const Options& options)
{
    baseBits = options.bits;
    std::printf("bits\tmode\tvariant\tindex\tcpu\tcandidates\texponentiations\tinside\t"
                "wall\tfound\n");
    warmUp(options);
    const double start = cpuSeconds();
    for (std::uint32_t i = 0; i < options.bases; ++i) {
        if (i >= leastBases && cpuSeconds() - start > options.seconds)
            return;
        measureBase(options, options.first + i);
    }
}

} // namespace

int main(int count, char** arguments)
{
    try {
        measure(readOptions(count, arguments));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norv_bench_searches: %s\n", error.what());
        return 1;
    }
}
