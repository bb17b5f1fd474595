// What a search may leave out: marks that nobody sees.
#pragma once

// Whether nobody sees the marks of this process's searches: generatePrime may
// then leave out events 1 of candidates for safe primes that it rejects without a
// test. Off unless the driver, which knows, says so before any search starts.
extern bool eventsUnwatched;
