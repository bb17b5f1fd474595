// The command that compares norv with libcrypto's own generator.
#pragma once

#include "ctl/options.h"

// Makes searches of norv, as a process with one thread, and of BN_generate_prime_ex2 in
// turn, from random numbers. Begins none after options.seconds, but makes two of each at
// least, and ends those that have begun. Writes the CPU times and their ratio to standard
// output. That of norv is of the whole process, its start included: a few milliseconds,
// which count at small sizes. Returns the program's exit code, after it has said what
// went wrong. Ends the process itself where libcrypto would have to be waited for. Throws
// std::bad_alloc.
int compare(const Options& options);
