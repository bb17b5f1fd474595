#include "tests/support/death_test.h"

// The statement runs in a copy of the process.
std::string sharedWithStatement(const std::string& /*key*/, const std::string& value)
{
    return value;
}
