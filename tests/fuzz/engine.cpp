// Any search of up to 48 bits, and of the sizes from which there are shortcuts, held
// against GMP: what is found, what is shown, and where a refused event ends it; the
// same in the search and in the plain one.
#include "prime/prime_generation.h"

#include "prime/events.h"
#include "tests/fakes/random_bytes.h"
#include "tests/fuzz/require.h"
#include "tests/plain/plain_prime_generation.h"
#include "tests/prime/engine.h"
#include "tests/support/event_trace.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <algorithm>
#include <random>

namespace
{

struct Search {
    int bits;
    int mode;
    int refusedEvent; // the number of the event that is refused with all after it; -1:
                      // none
    BigNumber base;
};

struct Outcome {
    int result;
    std::string candidate;
    std::vector<Event> events;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

constexpr std::size_t headSize = 3;
constexpr int smallSizes = 48;
constexpr int leastShortcutBits = 256;
constexpr int leastOracleBits = 8; // below, the oracle may find no prime

// Two and three bits have bases above which the candidates never end, 3 and 7: no
// program asks for them.
bool mayBeEndless(int bits)
{
    return bits == 2 || bits == 3;
}

// A byte each for the size, the mode and the refused event, then the base, which may
// be longer than the size. Safe primes of the larger sizes would take too long.
Search searchOf(const std::uint8_t* data, std::size_t size)
{
    const bool small = data[0] < 0xC0;
    int bits = small ? data[0] % (smallSizes + 1) : leastShortcutBits + data[0] % 64;
    if (mayBeEndless(bits))
        bits = 0;
    const int mode = small ? data[1] % 8 : data[1] % 8 & ~modeSafe;
    const int refusedEvent = data[2] % 2 == 0 ? -1 : data[2] / 2;
    const std::size_t baseSize = std::min<std::size_t>(size - headSize, small ? 9 : 41);
    return {bits, mode, refusedEvent,
            BigNumber(BN_bin2bn(data + headSize, static_cast<int>(baseSize), nullptr))};
}

// The bytes of a good generator: with those of the clocks a small composite may pass.
void useRepeatableBytes()
{
    std::mt19937 start(1); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    fakeRandomBytes = [generator = start](std::uint8_t* buffer,
                                          std::int32_t count) mutable {
        std::generate_n(buffer, count, [&generator] {
            return static_cast<std::uint8_t>(generator() >> 24);
        });
        return count;
    };
}

Outcome run(const Search& search, decltype(generatePrime)& generate)
{
    useRepeatableBytes();
    const SearchSize size(search.bits);
    EventTrace trace;
    trace.refuses = [&](const Event&) {
        return search.refusedEvent >= 0 &&
               trace.events.size() > static_cast<std::size_t>(search.refusedEvent);
    };
    const BigNumber candidate(BN_dup(search.base.get()));
    const Context context = newContext();
    const int result = generate(candidate.get(), 0, search.mode, nullptr, nullptr,
                                trace.callback(), context.get());
    return {result, toHex(candidate.get()), trace.events};
}

// How many events the search sent from the first refusal on. A refusal of event 1 is
// seen at the next event 0.
void requireQuickEnd(const Search& search, const Outcome& outcome)
{
    if (search.refusedEvent < 0)
        return;
    const auto refused = static_cast<std::size_t>(search.refusedEvent);
    if (outcome.events.size() <= refused)
        return;
    REQUIRE(outcome.events.size() <= refused + 2);
    REQUIRE(outcome.events.size() == refused + 1 ||
            outcome.events[refused].code == iterationEvent);
    REQUIRE(outcome.events.back().code != 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < headSize)
        return 0;
    const Search search = searchOf(data, size);
    const Outcome outcome = run(search, generatePrime);
    REQUIRE(outcome == run(search, plainGeneratePrime));
    requireQuickEnd(search, outcome);

    const bool safe = (search.mode & modeSafe) != 0;
    const bool exists = search.bits >= (safe ? 6 : 4);
    REQUIRE(outcome.result == 1 || !exists || search.refusedEvent >= 0);
    if (outcome.result == 0)
        return 0;
    REQUIRE(exists && bitsOf(outcome.candidate) == search.bits);
    REQUIRE(isPrime(outcome.candidate, safe));
    if ((search.mode & modeFromBase) != 0 && search.bits >= leastOracleBits)
        REQUIRE(outcome.candidate ==
                oracle::firstPrime(toHex(search.base.get()), {search.bits, safe}));
    return 0;
}
