// Random runs of the program, and what each of them ended with.
#pragma once

#include "tests/end_to_end/texts.h"
#include "tests/support/process.h"

#include <chrono>
#include <filesystem>
#include <random>
#include <string>

// The choices of a soak: the same for the same seed, as far as the machine lets them.
class Random
{
public:
    explicit Random(unsigned seed)
        : generator_(seed)
    {
    }

    // 0 to `largest`.
    int upTo(int largest)
    {
        return std::uniform_int_distribution<int>(0, largest)(generator_);
    }
    bool oneIn(int count)
    {
        return upTo(count - 1) == 0;
    }
    unsigned seed()
    {
        return static_cast<unsigned>(generator_());
    }

    // 20 microseconds to a second, each tenfold as likely as the next: a run's start,
    // its search and its end all lie in it.
    std::chrono::microseconds moment();

private:
    std::mt19937 generator_;
};

// One run to start, but for the name of its semaphore.
struct Job {
    int bits = 0; // of the prime: 16 to 512, or more when no result is needed
    bool safe = false;
    int threads = 0;
    bool quiet = false;                   // no text but the result
    std::string base = {};                // hex digits
    Arguments arguments = {};             // all but the semaphore's name
    Streams streams = {};                 // with the base, where it goes that way
    std::string head = {};                // what is printed before any mark
    std::filesystem::path marksFile = {}; // empty: none
};

// A search that ends with a result soon. `marksFile` is written to by some.
Job searchingJob(Random& random, const std::filesystem::path& marksFile);

// A search of a size at which no composite passes by chance: each result is the first
// of its window.
Job sureJob(Random& random);

// A search by more threads than one wait takes: it ends at once, with the result that
// stands there already or, more often, without any.
Job unwaitedJob(int threads, int bits);

// A run that does not end before it is stopped: without workers, or searching for
// what takes days.
Job endlessJob(Random& random);

enum class Verdict {
    result,    // a prime of the kind and size asked for, all around it as it must
    noResult,  // stopped: the exit code and the text say so
    composite, // a number below 128 bits that the weak witnesses let through
    wrong,
    hang
};

// Whether the job's size is one at which composites pass.
bool isWeak(const Job& job);

Verdict judge(const Job& job, const Ending& ending);
