// A trace that a test reads: linked instead of the one whose text is dropped.
#pragma once

#include <functional>
#include <openssl/bn.h>

// What a trace does. Nothing by default. Called by several threads at once when a test
// starts several.
extern std::function<void(const BIGNUM*)> fakeTraceNumber;
