// The pieces of the program that fail by themselves, without a search around them.
#pragma once

// Whether the watch over memory sees what it is there for.
void checkWatch();

// Base input, result output and the state that the workers share.
void failInFrontEnd();

// The primality test, the sieve of a search and the residues that it takes.
void failInEngine();
