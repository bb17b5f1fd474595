// Searches side by side, with witnesses from the clocks as in a run.
#include "prime/prime_generation.h"

#include "platform/thread.h"
#include "tests/prime/engine.h"
#include "tests/support/gmp_oracle.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>

namespace
{

constexpr int bits = 256;

// One thread's searches.
struct Job {
    std::string base;
    int mode = modeFromBase;
    GenCallback* callback = nullptr;
    int found = -1;
    std::string last;
};

std::uint32_t run(void* argument)
{
    Job& job = *static_cast<Job*>(argument);
    const Context context = newContext();
    const BigNumber candidate = fromHex(job.base);
    job.found = generatePrime(candidate.get(), 0, job.mode, nullptr, nullptr,
                              job.callback, context.get());
    job.last = toHex(candidate.get());
    return 0;
}

template <std::size_t count>
void runAll(std::array<Job, count>& jobs)
{
    std::array<ThreadHandle, count> threads{};
    for (std::size_t i = 0; i < count; ++i)
        threads[i] = createThread(run, &jobs[i]);
    EXPECT_TRUE(waitForThreads(threads.data(), static_cast<int>(count)));
    for (ThreadHandle thread : threads)
        closeThread(thread);
}

// The one record that all searches share: counts events and refuses from one on.
struct SharedAnswer {
    std::atomic<int> events{0};
    int refusedFrom = 0;
};

int answer(int /*code*/, int /*value*/, BN_GENCB* record)
{
    auto& shared = *static_cast<SharedAnswer*>(BN_GENCB_get_arg(record));
    return shared.events.fetch_add(1) < shared.refusedFrom ? 1 : 0;
}

} // namespace

TEST(SearchesSideBySide, EachFindTheFirstPrimeAboveTheirBase)
{
    const SearchSize size(bits);
    std::array<Job, 6> jobs;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        jobs[i].base = oracle::randomNumber(bits, static_cast<std::uint32_t>(i));
        jobs[i].mode = i % 2 ? modeFromBase : modeFromBase | modeSafe;
    }
    runAll(jobs);
    for (const Job& job : jobs) {
        EXPECT_EQ(1, job.found);
        EXPECT_EQ(oracle::firstPrime(job.base, {bits, (job.mode & modeSafe) != 0}),
                  job.last);
    }
}

TEST(SearchesSideBySide, AllEndWhenTheirCallbackRefuses)
{
    const SearchSize size(bits);
    SharedAnswer shared;
    shared.refusedFrom = 4;
    BN_GENCB* record = BN_GENCB_new();
    BN_GENCB_set(record, answer, &shared);
    std::array<Job, 4> jobs;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        jobs[i].base = oracle::randomNumber(bits, static_cast<std::uint32_t>(i));
        jobs[i].callback = record;
    }
    runAll(jobs);
    BN_GENCB_free(record);
    for (const Job& job : jobs)
        EXPECT_EQ(0, job.found);
}
