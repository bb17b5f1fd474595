#include "tests/faults/crypto_calls.h"

const std::vector<CryptoFunction>& cryptoFunctions()
{
#define FAILS(name, type, parameters, arguments, failure) {#name, true},
#define MAKES(name, type, parameters, arguments, failure) {#name, true},
#define SUCCEEDS(name, type, parameters, arguments) {#name, false},
#define BY_HAND(name) {#name, true},
#define FRAMES(name) {#name, false},
    static const std::vector<CryptoFunction> functions{
#include "tests/faults/crypto_calls.inc"
    };
    return functions;
}
