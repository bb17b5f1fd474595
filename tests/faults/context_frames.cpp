// libcrypto's contexts, which lend numbers in frames, with one that cannot be lent.
#include "tests/faults/fault.h"
#include "tests/faults/wrap.h"

#include <openssl/bn.h>

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

extern "C" {

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
