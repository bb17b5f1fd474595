// A search with any number of threads: one run of norv, or several at once.
#pragma once

#include "ctl/base.h"
#include "ctl/norv_run.h"

#include <memory>

// What became of a search.
struct SearchOutcome {
    enum class Kind { found, stopped, failed } kind = Kind::stopped;
    SecretNumber prime = {};
    SecretNumber base = {};   // of the run that found the prime
    std::string message = {}; // as RunOutcome's
};

// A search of several runs. It belongs to who started it, and stays where it is until
// `ended` is called.
struct SearchGroup {
    std::function<void(SearchOutcome)> ended;
    std::vector<std::unique_ptr<NorvRun>> runs;
    std::vector<SecretNumber> bases; // of each run
    std::size_t running = 0;
    SearchOutcome outcome;
};

// How many runs a search with so many threads needs.
int runsFor(int threads);

// Starts runsFor the threads of `order`, each with as many as the others or one more,
// from bases spread evenly over one of `shares` equal parts of the size, the first at
// `base`. The first run that ends with a prime, or fails, stops the others. `ended` is
// called once from the loop when all have ended, and only then `group` may be destroyed.
// Throws std::bad_alloc; then the process must end.
void startGroup(SearchGroup& group, uv_loop_t* loop, const RunOrder& order,
                const BIGNUM* base, int shares, std::function<void(SearchOutcome)> ended);

// As stopRun and killRun, of each run.
void stopGroup(SearchGroup& group);
void killGroup(SearchGroup& group);
