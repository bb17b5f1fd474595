// Many whole runs in a row, each result checked, then runs of more threads than
// one wait takes. For what happens once in a thousand runs.
//
//   norv_stress [RUNS [SEED]]
#include "tests/end_to_end/texts.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"
#include "tests/support/process.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace
{

class Stress
{
public:
    explicit Stress(unsigned seed)
        : random_(seed)
    {
    }

    // A search of a random size, kind and number of workers.
    void search()
    {
        const bool safe = upTo(1) == 1;
        const int bits = 8 * sizeInBytes(safe);
        const int threads = 1 + upTo(7);
        const bool quiet = upTo(1) == 1;
        const std::string base = randomBase(bits);

        Arguments arguments{"-threads", std::to_string(threads), "-base", base};
        if (safe)
            arguments.emplace_back("-safe");
        if (quiet)
            arguments.emplace_back("-noPrompt");
        const Ending ending = run(arguments);
        ++searches_;
        safeSearches_ += safe ? 1 : 0;

        const std::string kind = safe ? "Safe prime" : "Prime";
        const std::string result =
            quiet ? ending.output
                  : resultInMessages(started(kind, bits, threads),
                                     finished(kind, bits, threads), ending.output);
        if (ending.exitCode != exitCodeFor(bits))
            complain("exit code", arguments, ending);
        else if (!isResult(base, bits, safe, digitsOf(result)))
            complain("result", arguments, ending);
    }

    // A run that cannot wait for its threads. A tiny job may well be done by then.
    void tooManyThreads(int threads, int bits)
    {
        const Arguments arguments{"-noPrompt", "-threads", std::to_string(threads),
                                  "-base",
                                  std::string(static_cast<std::size_t>(bits) / 4, 'F')};
        const Ending ending = run(arguments);
        ++unwaited_;
        const bool foundNone =
            ending.exitCode == seenExitCode(-1) && ending.output.empty();
        const std::string digits = digitsOf(ending.output);
        const bool foundOne = ending.exitCode == exitCodeFor(bits) &&
                              isPrime(digits, false) && bitsOf(digits) == bits;
        unwaitedResults_ += foundOne ? 1 : 0;
        if (!foundNone && !foundOne)
            complain("end", arguments, ending);
    }

    void checkSemaphores()
    {
        for (const std::wstring& name : names_)
            if (existsForeign(name)) {
                ++failures_;
                std::cerr << "left behind: " << std::string(name.begin(), name.end())
                          << '\n';
            }
    }

    int failures() const
    {
        return failures_;
    }

    std::string summary() const
    {
        return std::to_string(searches_) + " searches (" + std::to_string(safeSearches_) +
               " for safe primes), " + std::to_string(unwaited_) +
               " runs of too many threads (" + std::to_string(unwaitedResults_) +
               " with a result), " + std::to_string(failures_) + " failures";
    }

private:
    int upTo(int largest)
    {
        return std::uniform_int_distribution<int>(0, largest)(random_);
    }

    // Safe primes grow rare: mostly of at most 256 bits, so that a run is short.
    int sizeInBytes(bool safe)
    {
        constexpr int smallest = 16;
        if (safe && upTo(49) != 0)
            return smallest + upTo(16);
        return smallest + upTo(48);
    }

    // Mostly any number of that size; now and then its top, or one with zeros
    // before it.
    std::string randomBase(int bits)
    {
        const auto length = static_cast<std::size_t>(bits / 4);
        const int kind = upTo(9);
        if (kind == 0)
            return std::string(length, 'F');
        std::string digits =
            oracle::randomNumber(bits, static_cast<std::uint32_t>(random_()));
        if (kind == 1)
            digits.replace(0, length / 2, length / 2, '0');
        return digits;
    }

    Ending run(Arguments arguments)
    {
        names_.push_back(uniqueSemaphoreName(L"stress" + std::to_wstring(names_.size())));
        arguments.emplace_back("-stopSemaphoreName");
        arguments.emplace_back(names_.back().begin(), names_.back().end());
        return Process(NORV_PROGRAM, arguments).wait();
    }

    // The text behind the messages and marks; none when they are not as they must.
    static std::string resultInMessages(const std::string& start,
                                        const std::string& finish,
                                        const std::string& output)
    {
        const std::string text = withoutSeconds(output);
        const std::string before = withNativeLineEnds(start);
        const std::string behind = withNativeLineEnds(finish) + "Result:";
        const auto end = text.find(behind);
        if (text.compare(0, before.size(), before) != 0 || end == std::string::npos ||
            text.find_first_not_of(".*!", before.size()) != end)
            return {};
        return text.substr(end + behind.size());
    }

    static bool isResult(const std::string& base, int bits, bool safe,
                         const std::string& prime)
    {
        if (!isPrime(prime, safe) || bitsOf(prime) != bits)
            return false;
        const unsigned long window = windowsBetween(base, prime, bits);
        return window >= 1 &&
               prime == oracle::firstPrime(windowStart(base, bits, window), {bits, safe});
    }

    void complain(const std::string& what, const Arguments& arguments,
                  const Ending& ending)
    {
        ++failures_;
        std::cerr << "bad " << what << ":";
        for (const std::string& argument : arguments)
            std::cerr << ' ' << argument;
        std::cerr << "\n  " << (ending.inTime ? "ended with " : "hung, killed: ")
                  << ending.exitCode << ", printed \"" << ending.output << "\", \""
                  << ending.errors << "\"\n";
    }

    std::mt19937 random_;
    std::vector<std::wstring> names_;
    int searches_ = 0;
    int safeSearches_ = 0;
    int unwaited_ = 0;
    int unwaitedResults_ = 0;
    int failures_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    const int runs =
        argc > 1 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : 1000;
    const unsigned seed = argc > 2
                              ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10))
                              : std::random_device()();
    std::cout << "seed " << seed << std::endl;

    const auto start = std::chrono::steady_clock::now();
    Stress stress(seed);
    for (int i = 0; i < runs; ++i)
        stress.search();
    constexpr int largeRuns = 200;
    constexpr int tinyRuns = 100;
    for (const int threads : {64, 100, 1000}) {
        for (int i = 0; i < largeRuns; ++i)
            stress.tooManyThreads(threads, 2048);
        for (int i = 0; i < tinyRuns; ++i)
            stress.tooManyThreads(threads, 16);
    }
    stress.checkSemaphores();

    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::steady_clock::now() - start);
    std::cout << stress.summary() << ", " << seconds.count() << " seconds" << std::endl;
    return runs > 0 && stress.failures() == 0 ? 0 : 1;
}
