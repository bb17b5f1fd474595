// What a search may leave out because nobody would see it.
#pragma once

// Whether nobody sees the marks of this process's searches: generatePrime may
// then leave out events 1 of safe primes' candidates that it rejects without a
// test. Off unless the driver, which knows, says so before any search starts.
extern bool eventsUnwatched;

// Whether searches take shortcuts at all. Always, but for tests and benchmarks
// that hold the shortcuts against the plain path; set while no search runs.
extern bool shortcutsEnabled;
