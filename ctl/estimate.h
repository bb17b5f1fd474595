// How long a search takes here: what its tests and its sieve cost, measured, times what
// the density of primes makes a search need.
#pragma once

#include <vector>

// What a search does, in seconds of one core.
struct MeasuredCosts {
    double rejection = 0;     // a test that shows a candidate composite
    double halfTest = 0;      // the same of (p-1)/2
    double iteration = 0;     // one of many Miller-Rabin iterations of a number
    double loneIteration = 0; // one alone
    double slice = 0;         // the larger primes sieved after each candidate
    double begin = 0;         // the sieve's begin
    double firstSlices = 0;   // how many slices, from the begin on, take ...
    double firstSlice = 0;    // ... so long each; 0 slices: not measured apart
};

// Measures for some 50 milliseconds, whatever the size, on as many threads as will search
// at once, or on fewer where the system starts no more. Throws std::bad_alloc.
MeasuredCosts measureCosts(int bits, bool safe, int threads);

// The time of a search, as a distribution.
struct Estimate {
    // The chance that a search has ended by a time: 0 before the first point, that of the
    // last point after it, linear between points. Both rise from point to point.
    struct Point {
        double seconds;
        double chance;
    };
    std::vector<Point> points;
    double mean = 0; // seconds
};

// The time of a search of `bits` bits that `threads` threads share on `cores` cores.
Estimate estimateSearch(int bits, bool safe, int threads, int cores,
                        const MeasuredCosts& costs);

// The chance that a search has ended after so many seconds, 0 to 1.
double chanceBy(const Estimate& estimate, double seconds);

// After how many seconds the chance is `chance`, 0 to 0.999.
double secondsFor(const Estimate& estimate, double chance);

// How many processors this process may use; 1 or more.
int usableProcessors();
