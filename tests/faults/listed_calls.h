// The calls that can be made to fail, and whether they are all that the program makes.
#pragma once

#include "tests/faults/tally.h"

#include <set>
#include <string>
#include <vector>

struct ListedFunction {
    const char* name;
    bool canFail;
};

// All of libcrypto, as crypto_calls.inc lists them.
const std::vector<ListedFunction>& cryptoFunctions();
// All of the C library, as system_calls.inc lists them.
const std::vector<ListedFunction>& systemFunctions();

// Those of the listed that can fail and that the built program takes from its libraries,
// by symbol versions that start with `version`. Throws std::runtime_error when its
// imports cannot be read.
std::set<std::string> failableImports(const std::vector<ListedFunction>& listed,
                                      const std::string& version);

// The names that a program leaves to the libraries of symbol versions that start with
// `version`; with an empty one, of libraries without versions. Throws std::runtime_error
// when they cannot be read.
std::set<std::string> importsOf(const std::string& program, const std::string& version);

// Whether this is Debian 12, whose libraries and compiler the lists are made for.
bool isListedSystem();

// Complains to `tally` of each import that is not listed and prints the figures. On
// another system than Debian 12 it only warns: other headers and compilers make other
// calls of the same source.
void checkListed(const std::vector<ListedFunction>& listed, const std::string& library,
                 const std::string& version, Tally& tally);
