// What the statement of a death test shares with the test around it.
#pragma once

#include <string>

// The value; in the process of a death test's statement, the one that the test
// gave for the same key in the process that started it. There the test may have
// run again from its beginning, and chosen another value.
std::string sharedWithStatement(const std::string& key, const std::string& value);
