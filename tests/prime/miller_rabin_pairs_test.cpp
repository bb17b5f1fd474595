// Iterations of two witnesses at once, checked against those of one after the other.
#include "prime/miller_rabin.h"

#include "prime/events.h"
#include "tests/fakes/exponentiation_way.h"
#include "tests/fakes/random_bytes.h"
#include "tests/prime/engine.h"
#include "tests/prime/related_primes.h"
#include "tests/support/event_trace.h"
#include "tests/support/gmp_oracle.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace
{

using Way = ExponentiationWay;

struct Case {
    std::string number;
    int checks;
    std::uint32_t seed;
    int failingDraw = -1; // of the random bytes asked for; -1: none
    int refusedEvent = -1;
};

struct Outcome {
    std::vector<int> results;
    std::vector<Event> events;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

class Pairs : public testing::Test
{
protected:
    // Draws from a generator of its own, so that each way gets the same witnesses.
    static void drawFrom(const Case& tested)
    {
        fakeRandomBytes = [generator = std::mt19937(tested.seed), draw = 0,
                           failing = tested.failingDraw](std::uint8_t* buffer,
                                                         std::int32_t count) mutable {
            if (draw++ == failing)
                return 0;
            std::generate_n(buffer, count, [&generator] {
                return static_cast<std::uint8_t>(generator() >> 24);
            });
            return count;
        };
    }

    static void refuse(EventTrace& trace, const Case& tested)
    {
        trace.refuses = [&trace, &tested](const Event&) {
            return tested.refusedEvent >= 0 &&
                   trace.events.size() > static_cast<std::size_t>(tested.refusedEvent);
        };
    }

    Outcome inOneTest(Way way, const Case& tested)
    {
        fakeWay = way;
        drawFrom(tested);
        EventTrace trace;
        refuse(trace, tested);
        const BigNumber w = fromHex(tested.number);
        PrimeTestStatus status = -1;
        const int result =
            millerRabin(w.get(), tested.checks, context.get(), trace.callback(), &status);
        return {{result, status}, trace.events};
    }

    Outcome inTurns(Way way, const Case& tested)
    {
        fakeWay = way;
        drawFrom(tested);
        EventTrace trace;
        refuse(trace, tested);
        const BigNumber w = fromHex(tested.number);
        Outcome outcome;
        IterationAhead ahead;
        for (int i = 0; i < tested.checks; ++i) {
            ahead.wanted = tested.checks - i;
            outcome.results.push_back(
                isPrimeInTurn(w.get(), context.get(), trace.callback(), ahead));
            if (outcome.results.back() != 1)
                break;
        }
        outcome.events = trace.events;
        return outcome;
    }

    void compare(const Case& tested)
    {
        const Outcome one = inOneTest(Way::slidingWindow, tested);
        EXPECT_EQ(one, inOneTest(Way::twoAtOnce, tested)) << tested.number;
        const Outcome turns = inTurns(Way::slidingWindow, tested);
        EXPECT_EQ(turns, inTurns(Way::twoAtOnce, tested)) << tested.number;
        passedFirst += one.events.empty() ? 0 : 1;
        rejected += one.results[1] == primeTestComposite ? 1 : 0;
    }

    Context context = newContext();
    int passedFirst = 0;
    int rejected = 0;
};

TEST_F(Pairs, JudgePrimesTheSame)
{
    for (const int bits : {512, 1024})
        for (std::uint32_t seed = 1; seed <= 4; ++seed)
            for (const int checks : {1, 2, 3, 8})
                compare(
                    {oracle::firstPrime(oracle::randomNumber(bits, seed), {bits, false}),
                     checks, seed});
    EXPECT_GT(passedFirst, 0);
    EXPECT_EQ(0, rejected);
}

// Composites that a good part of all witnesses lets pass: the first of a pair, the
// second, both or none.
TEST_F(Pairs, JudgeCompositesTheSame)
{
    for (std::uint32_t seed = 1; seed <= 150; ++seed)
        for (const int checks : {1, 2, 3, 6})
            compare({productOfRelatedPrimes(258, seed), checks, seed});
    EXPECT_GT(passedFirst, 20);
    EXPECT_GT(rejected, 20);
}

TEST_F(Pairs, EndAtTheSameFailingDraw)
{
    const std::string prime =
        oracle::firstPrime(oracle::randomNumber(512, 9), {512, false});
    for (int draw = 0; draw < 8; ++draw)
        compare({prime, 6, 1, draw});
}

TEST_F(Pairs, EndAtTheSameRefusal)
{
    const std::string prime =
        oracle::firstPrime(oracle::randomNumber(512, 9), {512, false});
    for (int event = 0; event < 7; ++event)
        compare({prime, 6, 1, -1, event});
}

} // namespace
