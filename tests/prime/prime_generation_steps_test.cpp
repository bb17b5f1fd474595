// A search in its steps, with a sieve and a primality test that a test scripts.
#include "prime/prime_generation.h"

#include "tests/fakes/array_memory.h"
#include "tests/fakes/candidate_sieve.h"
#include "tests/fakes/miller_rabin.h"
#include "tests/prime/engine.h"
#include "tests/support/event_trace.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace
{

constexpr int turns = 3;

// The sieve gives 101, 103, 105 ... 33 of them; isPrime takes the next verdict, 1
// when there is none left.
class SearchSteps : public testing::Test
{
protected:
    void SetUp() override
    {
        fakeNextCandidate = [this](BIGNUM* candidate, int bits, int mode,
                                   std::uint16_t* residues, BN_CTX*) {
            sieved_.push_back({bits, mode});
            if (onSieve_)
                onSieve_(residues);
            if (sieved_.size() > 33)
                return 0;
            return BN_set_word(candidate, 99 + 2 * sieved_.size());
        };
        fakeIsPrime = [this](const BIGNUM* w, int checks, BN_CTX* context, int flag,
                             GenCallback* callback) {
            EXPECT_EQ(context_.get(), context);
            EXPECT_EQ(0, flag);
            EXPECT_EQ(trace_.callback(), callback);
            tested_.push_back({BN_get_word(w), checks});
            const std::size_t number = tested_.size() - 1;
            return number < verdicts_.size() ? verdicts_[number] : 1;
        };
        fakeIterationsFor = [this](int bits) {
            askedBits_ = bits;
            return turns;
        };
    }
    void TearDown() override
    {
        arrayAllocationFails = false;
        fakeNextCandidate = nullptr;
        fakeIsPrime = nullptr;
        fakeIterationsFor = nullptr;
    }

    int search(int mode)
    {
        const SearchSize size(512);
        return generatePrime(candidate_.get(), 0, mode, nullptr, nullptr,
                             trace_.callback(), context_.get());
    }

    struct Sieved {
        int bits;
        int mode;
        bool operator==(const Sieved&) const = default;
    };
    struct Tested {
        BN_ULONG number;
        int checks;
        bool operator==(const Tested&) const = default;
    };

    Context context_ = newContext();
    BigNumber candidate_ = fromWord(7);
    EventTrace trace_;
    std::vector<int> verdicts_;
    std::vector<Sieved> sieved_;
    std::vector<Tested> tested_;
    int askedBits_ = 0;
    std::function<void(std::uint16_t*)> onSieve_;
};

} // namespace

TEST_F(SearchSteps, TestACandidateWithAllIterationsAtOnce)
{
    EXPECT_EQ(1, search(modeFromBase));
    EXPECT_EQ((std::vector<Tested>{{101, turns}}), tested_);
    EXPECT_EQ(512, askedBits_);
    EXPECT_EQ((std::vector<Event>{{0, 0}}), trace_.events);
}

TEST_F(SearchSteps, TestASafeCandidateAndItsHalfInTurns)
{
    EXPECT_EQ(1, search(modeFromBase | modeSafe));
    EXPECT_EQ(
        (std::vector<Tested>{{101, 1}, {50, 1}, {101, 1}, {50, 1}, {101, 1}, {50, 1}}),
        tested_);
    EXPECT_EQ((std::vector<Event>{{0, 0}, {2, 0}, {2, 0}, {2, 0}}), trace_.events);
}

TEST_F(SearchSteps, GoOnToTheNextCandidateAfterARejection)
{
    verdicts_ = {0, 0};
    EXPECT_EQ(1, search(modeFromBase));
    EXPECT_EQ("69", toHex(candidate_.get())); // 105
    EXPECT_EQ((std::vector<Event>{{0, 0}, {0, 1}, {0, 2}}), trace_.events);
}

TEST_F(SearchSteps, GoOnToTheNextCandidateAfterARejectedHalf)
{
    // The half of 101 fails in the second turn, 103 itself in the first.
    verdicts_ = {1, 1, 1, 0, 0};
    EXPECT_EQ(1, search(modeFromBase | modeSafe));
    EXPECT_EQ("69", toHex(candidate_.get()));
    EXPECT_EQ(
        (std::vector<Event>{{0, 0}, {2, 0}, {0, 1}, {0, 2}, {2, 2}, {2, 2}, {2, 2}}),
        trace_.events);
}

TEST_F(SearchSteps, EndWhenTheTestCannotRun)
{
    verdicts_ = {0, -1};
    EXPECT_EQ(0, search(modeFromBase));
    EXPECT_EQ(2u, sieved_.size());
}

TEST_F(SearchSteps, EndWhenTheTestOfASafeCandidateCannotRun)
{
    verdicts_ = {-1};
    EXPECT_EQ(0, search(modeFromBase | modeSafe));
    EXPECT_EQ(1u, tested_.size());
    EXPECT_EQ(1u, sieved_.size());
}

TEST_F(SearchSteps, EndWhenTheTestOfAHalfCannotRun)
{
    verdicts_ = {1, -1};
    EXPECT_EQ(0, search(modeFromBase | modeSafe));
    EXPECT_EQ(2u, tested_.size());
    EXPECT_EQ(1u, sieved_.size());
}

TEST_F(SearchSteps, EndWhenTheSieveDoes)
{
    verdicts_.assign(40, 0);
    EXPECT_EQ(0, search(modeFromBase));
    EXPECT_EQ(34u, sieved_.size());
    EXPECT_EQ(33, trace_.count(0));
}

TEST_F(SearchSteps, SieveOnceBeforeTheFirstEvent)
{
    trace_.refuses = [this](const Event&) {
        EXPECT_EQ(1u, sieved_.size());
        EXPECT_TRUE(tested_.empty());
        return true;
    };
    EXPECT_EQ(0, search(modeFromBase));
    EXPECT_EQ(1u, sieved_.size());
    EXPECT_TRUE(tested_.empty());
}

TEST_F(SearchSteps, EndAtARefusedTurnWithoutAnotherTest)
{
    trace_.refuses = [](const Event& event) {
        return event.code == 2;
    };
    EXPECT_EQ(0, search(modeFromBase | modeSafe));
    EXPECT_EQ(2u, tested_.size());
    EXPECT_EQ(1u, sieved_.size());
}

TEST_F(SearchSteps, HandTheModeToTheSieveAsItIs)
{
    for (const int mode : {0, 1, 2, 3, 0x7A, 0x7B}) {
        sieved_.clear();
        EXPECT_EQ(1, search(mode));
        EXPECT_EQ((std::vector<Sieved>{{512, mode}}), sieved_);
    }
}

TEST_F(SearchSteps, TakeTheLowestBitOfTheModeAloneForSafe)
{
    search(0x7A);
    EXPECT_EQ(0, trace_.count(2));
    search(0x7B);
    EXPECT_EQ(turns, trace_.count(2));
}

TEST_F(SearchSteps, HandTheSieveOneTableThatStartsWithZeros)
{
    std::set<std::uint16_t*> tables;
    std::vector<int> zeros;
    onSieve_ = [&](std::uint16_t* residues) {
        tables.insert(residues);
        zeros.push_back(static_cast<int>(
            std::count(residues, residues + smallPrimeCount, std::uint16_t{0})));
        std::fill_n(residues, smallPrimeCount, std::uint16_t{0xABCD});
    };
    verdicts_ = {0};
    EXPECT_EQ(1, search(modeFromBase));
    EXPECT_EQ(1u, tables.size());
    EXPECT_EQ((std::vector<int>{2048, 0}), zeros);
}

TEST_F(SearchSteps, FreeTheTableOnSuccessAndOnFailure)
{
    for (const bool refused : {false, true}) {
        arrayWatch = {};
        onSieve_ = [](std::uint16_t* residues) {
            arrayWatch.block = residues;
        };
        trace_.refuses = [refused](const Event&) {
            return refused;
        };
        EXPECT_EQ(refused ? 0 : 1, search(modeFromBase));
        EXPECT_EQ(1, arrayWatch.releases);
    }
}

TEST_F(SearchSteps, FreeTheTableUnwiped)
{
    onSieve_ = [](std::uint16_t* residues) {
        std::fill_n(residues, smallPrimeCount, std::uint16_t{0xABCD});
        arrayWatch = {residues, smallPrimeCount * sizeof(std::uint16_t)};
    };
    EXPECT_EQ(1, search(modeFromBase));
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_EQ(0U, arrayWatch.leadingZeros);
}

TEST_F(SearchSteps, DoNotBeginWithoutATable)
{
    arrayAllocationFails = true;
    EXPECT_EQ(0, search(modeFromBase));
    EXPECT_TRUE(sieved_.empty());
    EXPECT_TRUE(trace_.events.empty());
}

TEST_F(SearchSteps, GoOnPastARejectionWithoutACallback)
{
    const SearchSize size(512);
    fakeIsPrime = [this](const BIGNUM* w, int checks, BN_CTX*, int, GenCallback*) {
        tested_.push_back({BN_get_word(w), checks});
        return tested_.size() > 2 ? 1 : 0;
    };
    EXPECT_EQ(1, generatePrime(candidate_.get(), 0, modeFromBase, nullptr, nullptr,
                               nullptr, context_.get()));
    EXPECT_EQ((std::vector<Tested>{{101, turns}, {103, turns}, {105, turns}}), tested_);
}
