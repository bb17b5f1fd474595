// What the statement of a death test shares with the test around it.
#pragma once

#include <string>

// Returns `value` in the test's own process. In the child process that runs the
// statement, returns what the parent passed for this key: the child may repeat the test
// and choose another value.
std::string sharedWithStatement(const std::string& key, const std::string& value);
