// The calls of libcrypto that can be made to fail.
#pragma once

#include <vector>

struct CryptoFunction {
    const char* name;
    bool canFail;
};

// All of them, as crypto_calls.inc lists them.
const std::vector<CryptoFunction>& cryptoFunctions();
