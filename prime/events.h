// The events of a search: what generatePrime and millerRabin tell their callback.
//
// Callers may rely on these numbers.
#pragma once

// A candidate survived the sieve and is about to be tested.
inline constexpr int candidateEvent = 0;
// A number under test passed one Miller-Rabin iteration.
inline constexpr int iterationEvent = 1;
// A candidate p and its (p-1)/2 both passed one more iteration: a turn of the test
// of a safe prime.
inline constexpr int turnEvent = 2;
