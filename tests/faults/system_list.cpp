#include "tests/faults/system_calls.h"

const std::vector<SystemFunction>& systemFunctions()
{
#define FAILS(name, type, parameters, arguments, failure) {#name, true},
#define FAILS_AFTER(name, type, parameters, arguments, failure) {#name, true},
#define BY_HAND(name) {#name, true},
#define CANNOT_FAIL(name) {#name, false},
    static const std::vector<SystemFunction> functions{
#include "tests/faults/system_calls.inc"
    };
    return functions;
}
