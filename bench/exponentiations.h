// Counts and times the engine's exponentiations and strong tests: the linker leads the
// calls of strongTest and of libcrypto's three exponentiations through here.
#pragma once

struct Exponentiations {
    long count = 0;
    double seconds = 0; // wall time inside them
};

// Those made since it was last reset. For one thread.
extern Exponentiations exponentiations;
