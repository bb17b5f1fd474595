// Whole searches while the clocks stand still, so that one witness serves for all
// iterations: by the shortcuts and by the plain path.
#pragma once

#include "prime/prime_generation.h"
#include "tests/fakes/clock.h"
#include "tests/plain/plain_prime_generation.h"
#include "tests/prime/engine.h"
#include "tests/support/event_trace.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

struct Outcome {
    int result;
    std::string number;
    std::vector<Event> events;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

inline Outcome searchWith(decltype(generatePrime)& generate, const std::string& base,
                          int mode)
{
    EventTrace trace;
    const BigNumber candidate = fromHex(base);
    const Context context = newContext();
    const int result = generate(candidate.get(), 0, mode, nullptr, nullptr,
                                trace.callback(), context.get());
    return {result, toHex(candidate.get()), trace.events};
}

inline Outcome search(const std::string& base, int mode = modeFromBase)
{
    return searchWith(generatePrime, base, mode);
}

inline Outcome searchPlainly(const std::string& base, int mode = modeFromBase)
{
    return searchWith(plainGeneratePrime, base, mode);
}

class ClocksThatStandStill : public testing::Test
{
protected:
    explicit ClocksThatStandStill(int bits)
        : size_(bits)
    {
        fakeCalendarTime = [] {
            return std::int64_t{1'700'000'000};
        };
    }
    ~ClocksThatStandStill() override
    {
        stopAt(0);
        fakeCalendarTime = [] {
            return std::int64_t{0};
        };
    }

    static void stopAt(std::int32_t clock)
    {
        fakeProcessClock = [clock] {
            return clock;
        };
    }

    static void expectTheSame(const std::string& base, int mode = modeFromBase)
    {
        EXPECT_EQ(searchPlainly(base, mode), search(base, mode))
            << base << ", mode " << mode << ", clock " << fakeProcessClock();
    }

private:
    SearchSize size_;
};
