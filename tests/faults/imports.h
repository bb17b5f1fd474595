// What a built program takes from its libraries.
#pragma once

#include "tests/faults/tally.h"

#include <set>
#include <string>
#include <vector>

// The names that `program` leaves to the libraries whose symbol version starts with
// `version`, sorted. Throws std::runtime_error when they cannot be read.
std::vector<std::string> importsOf(const std::string& program,
                                   const std::string& version);

// Complains to `tally` of each imported name that is not listed. On another system than
// Debian 12 it only warns: other headers and compilers make other calls of the same
// source.
void checkListed(const std::vector<std::string>& imported,
                 const std::set<std::string>& listed, Tally& tally);
