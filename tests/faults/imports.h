// What a built program takes from its libraries.
#pragma once

#include <string>
#include <vector>

// The names that `program` leaves to the libraries whose symbol version starts with
// `version`, sorted. Throws std::runtime_error when they cannot be read.
std::vector<std::string> importsOf(const std::string& program,
                                   const std::string& version);
