// Counts and times the exponentiations that the engine asks libcrypto for: the
// linker leads its calls of BN_mod_exp_mont through here.
#pragma once

struct Exponentiations {
    long count = 0;
    double seconds = 0; // wall time inside them
};

// Those made since it was last reset. For one thread.
extern Exponentiations exponentiations;
