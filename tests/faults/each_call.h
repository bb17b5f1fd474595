// Runs inside this process with every call of libcrypto, every allocation of libcrypto
// and every own allocation failing once: each in a run of its own, until a run meets no
// fault.
#pragma once

#include "prime/big_number.h"
#include "tests/faults/fault.h"
#include "tests/faults/memory.h"
#include "tests/faults/tally.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

inline constexpr FaultKind kindsOfFault[] = {
    FaultKind::libraryCall, FaultKind::libraryMemory, FaultKind::ownMemory};

extern Tally tally;

// After the first calls, and the first ones of every function, only every so many-th
// fails. 1: each.
extern int faultStep;

// Blocks that the run at hand leaves on purpose, which it may set.
extern LiveBlocks blocksLeft;

// Runs `run` with each fault of each kind, until it meets none. `run` arms the fault
// around what it tests. Blocks left, blocks given back twice and secrets in blocks given
// back are failures.
void failEachCall(const std::string& name, const std::function<void(const Fault&)>& run);

// Whether the fault struck, in a call of this function.
bool struckIn(const char* function);

OwnedCallback makeCallback(int (*function)(int, int, GenCallback*), void* argument);

// Secret numbers

using Bytes = std::vector<std::uint8_t>;

Bytes bigEndian(const std::string& digits);

// As bytes and as words of the library, which reverses `bytes`.
void addSecretBothWays(std::span<std::uint8_t> bytes);

// The number in both ways, and so what is one below it and what is half of it: the test
// computes with these.
void addSecretNumber(const BIGNUM* number);

// The candidate that a search begins with, or starts over at: its sieve starts there. No
// sieve is deep below 256 bits.
void addStart(const BIGNUM* candidate);

// Lets the engine draw numbers without a pattern, secret ones, the same after every call.
void drawAnything();
