// Stands between the program and libcrypto, at link time.
#include "tests/faults/fault.h"
#include "tests/faults/wrap.h"

#include <cstddef>
#include <openssl/bn.h>
#include <openssl/crypto.h>

namespace
{

// A context that failed once gives nothing more until the frame in which it did
// is closed.
struct FailedFrame {
    BN_CTX* context = nullptr;
    int nested = 0; // frames opened inside it and not closed
};
thread_local FailedFrame failedFrame;

} // namespace

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

DECLARE(BN_CTX_get, BIGNUM*, (BN_CTX * context))
DECLARE(BN_CTX_start, void, (BN_CTX * context))
DECLARE(BN_CTX_end, void, (BN_CTX * context))

BIGNUM* wrapped_BN_CTX_get(BN_CTX* context)
{
    if (failedFrame.context == context)
        return nullptr;
    if (!strikes(FaultKind::libraryCall, "BN_CTX_get"))
        return real_BN_CTX_get(context);
    failedFrame = {context, 0};
    return nullptr;
}

void wrapped_BN_CTX_start(BN_CTX* context)
{
    if (failedFrame.context == context)
        ++failedFrame.nested;
    real_BN_CTX_start(context);
}

void wrapped_BN_CTX_end(BN_CTX* context)
{
    if (failedFrame.context == context && failedFrame.nested-- == 0)
        failedFrame = {};
    real_BN_CTX_end(context);
}

} // extern "C"
