#include "tests/support/death_test.h"

#include <gtest/gtest.h>
#include <windows.h>

// The statement's process inherits the environment.
std::string sharedWithStatement(const std::string& key, const std::string& value)
{
    const std::string variable = "NORV_TEST_" + key;
    if (!testing::internal::InDeathTestChild()) {
        SetEnvironmentVariableA(variable.c_str(), value.c_str());
        return value;
    }
    std::string shared(MAX_PATH, '\0');
    const DWORD length = GetEnvironmentVariableA(variable.c_str(), shared.data(),
                                                 static_cast<DWORD>(shared.size()));
    shared.resize(length);
    return shared;
}
