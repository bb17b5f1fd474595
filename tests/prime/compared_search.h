// One search run as it is and plainly, and compared.
#pragma once

#include "prime/events.h"
#include "prime/prime_generation.h"
#include "prime/shortcuts.h"
#include "tests/fakes/random_bytes.h"
#include "tests/plain/plain_prime_generation.h"
#include "tests/prime/engine.h"
#include "tests/support/event_trace.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

struct Search {
    std::string base;
    int mode;
    // The number of the event that is refused with all after it; -1: none.
    int stopAt;
    // The candidate whose event 0 is refused; -1: none.
    int stopAtCandidate;
    std::uint32_t seed;
};

struct Outcome {
    int result;
    std::string candidate;
    std::vector<Event> events;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

// `generate` is generatePrime or plainGeneratePrime.
inline Outcome run(const Search& search, decltype(generatePrime)& generate)
{
    fakeRandomBytes = [generator = std::mt19937(search.seed)](
                          std::uint8_t* buffer, std::int32_t count) mutable {
        std::generate_n(buffer, count, [&generator] {
            return static_cast<std::uint8_t>(generator() >> 24);
        });
        return count;
    };
    EventTrace trace;
    trace.refuses = [&](const Event& event) {
        if (event.code == 0 && event.value == search.stopAtCandidate)
            return true;
        return search.stopAt >= 0 &&
               trace.events.size() > static_cast<std::size_t>(search.stopAt);
    };
    const BigNumber candidate = fromHex(search.base);
    const Context context = newContext();
    const int result = generate(candidate.get(), 0, search.mode, nullptr, nullptr,
                                trace.callback(), context.get());
    return {result, toHex(candidate.get()), trace.events};
}

// The events but those that an unwatched search may leave out.
inline std::vector<Event> seen(std::vector<Event> events)
{
    std::erase_if(events, [](const Event& event) { return event.code == 1; });
    return events;
}

inline void compareUnwatched(const Search& search, const Outcome& plain)
{
    eventsUnwatched = true;
    const Outcome unwatched = run(search, generatePrime);
    ASSERT_EQ(plain.result, unwatched.result);
    ASSERT_EQ(plain.candidate, unwatched.candidate) << "unwatched, " << search.base;
    ASSERT_EQ(seen(plain.events), seen(unwatched.events));
}

// Compares the search, watched and not, with the plain one: all that they show and give.
inline void compareWithPlain(const Search& search)
{
    eventsUnwatched = false;
    const Outcome plain = run(search, plainGeneratePrime);
    ASSERT_EQ(plain, run(search, generatePrime))
        << "watched, from " << search.base << ", mode " << search.mode << ", stop at "
        << search.stopAt;
    if (search.stopAt < 0)
        compareUnwatched(search, plain);
}
