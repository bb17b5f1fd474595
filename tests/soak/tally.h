// What a soak counts.
#pragma once

#include "tests/soak/job.h"

// Prints every fault at once, with what is needed to see it again.
struct Tally {
    int killed = 0;
    int killedTooLate = 0; // had ended by themselves
    int searches = 0;      // runs of their own, undisturbed
    int safeSearches = 0;  // of these for safe primes
    int groups = 0;        // runs under one name, stopped from outside
    int foreignGroups = 0; // the same, with a foreign program at the name
    int groupRuns = 0;     // in both
    int groupResults = 0;  // of these with a result
    int twoUsers = 0;
    int unwaited = 0;        // runs of more threads than one wait takes
    int unwaitedResults = 0; // of these with a result
    int composites = 0;
    int smallResults = 0; // below the size from which a composite is a fault

    int hangs = 0;
    int wrong = 0;
    int leftovers = 0;

    // Counts an ending, and tells what it was. `mayBeStopped`: no result is right as
    // well.
    Verdict count(const Job& job, const Ending& ending, bool mayBeStopped);

    // Counts a name that stands when it must not, or a foreign one that is gone.
    void countName(const std::wstring& name, const char* fault);

    bool isClean() const
    {
        return hangs == 0 && wrong == 0 && leftovers == 0;
    }
};
