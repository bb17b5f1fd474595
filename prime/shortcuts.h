// What a search may leave out: marks that nobody sees, and tests of numbers that it
// knows to have a factor.
#pragma once

// Whether nobody sees the marks of this process's searches: generatePrime may
// then leave out events 1 of safe primes' candidates that it rejects without a
// test. Off unless the driver, which knows, says so before any search starts.
extern bool eventsUnwatched;

// Whether searches take shortcuts at all. Always, but for tests and benchmarks
// that check the shortcuts against the plain path; set while no search runs.
// With the same witnesses both paths send the same events and end at the same number,
// unless a witness lets a composite pass whose factor the shortcuts know: they reject
// it without events 1. They accept nothing that the plain path rejects.
extern bool shortcutsEnabled;
