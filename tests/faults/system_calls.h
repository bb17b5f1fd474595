// The system calls that can be made to fail.
#pragma once

#include <string>
#include <vector>

struct SystemFunction {
    const char* name;
    bool canFail;
};

// All of them, as system_calls.inc lists them.
const std::vector<SystemFunction>& systemFunctions();
