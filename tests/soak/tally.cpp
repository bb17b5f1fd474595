#include "tests/soak/tally.h"

#include <iostream>

Verdict Tally::count(const Job& job, const Ending& ending, bool mayBeStopped)
{
    const Verdict verdict = judge(job, ending);
    if (isWeak(job) && (verdict == Verdict::result || verdict == Verdict::composite))
        ++smallResults;
    if (verdict == Verdict::result || (verdict == Verdict::noResult && mayBeStopped))
        return verdict;
    if (verdict == Verdict::composite)
        ++composites;
    else
        ++(verdict == Verdict::hang ? hangs : wrong);

    std::cerr << (verdict == Verdict::hang        ? "hang"
                  : verdict == Verdict::composite ? "composite"
                                                  : "wrong")
              << ": base " << job.base << ", arguments";
    for (const std::string& argument : job.arguments)
        std::cerr << ' ' << argument;
    std::cerr << "\n  ended with " << ending.exitCode << ", printed \"" << ending.output
              << "\", \"" << ending.errors << "\"\n";
    return verdict;
}

void Tally::countName(const std::wstring& name, const char* fault)
{
    ++leftovers;
    std::cerr << fault << ": " << std::string(name.begin(), name.end()) << '\n';
}
