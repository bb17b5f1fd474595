// Stands between the program and libcrypto, at link time.
#include "tests/faults/fault.h"
#include "tests/faults/wrap.h"

#include <cstddef>
#include <openssl/bn.h>
#include <openssl/crypto.h>

#define FAILS(name, type, parameters, arguments, failure)                                \
    DECLARE(name, type, parameters)                                                      \
    type wrapped_##name parameters                                                       \
    {                                                                                    \
        if (strikes(FaultKind::libraryCall, #name))                                      \
            return failure;                                                              \
        type const returned = real_##name arguments;                                     \
        return strikes(FaultKind::libraryCall, #name, true) ? (failure) : returned;      \
    }
#define MAKES(name, type, parameters, arguments, failure)                                \
    DECLARE(name, type, parameters)                                                      \
    type wrapped_##name parameters                                                       \
    {                                                                                    \
        return strikes(FaultKind::libraryCall, #name) ? (failure)                        \
                                                      : real_##name arguments;           \
    }
#define SUCCEEDS(name, type, parameters, arguments)                                      \
    DECLARE(name, type, parameters)                                                      \
    type wrapped_##name parameters                                                       \
    {                                                                                    \
        return real_##name arguments;                                                    \
    }
#define BY_HAND(name)
#define FRAMES(name)

extern "C" {

#include "tests/faults/crypto_calls.inc"

} // extern "C"
