// The one word that ends every search of the process.
#pragma once

#include "prime/big_number.h"

#include <atomic>
#include <cstdint>

// 0, and 1 once the stop semaphore was released or could not be waited on. Never
// goes back. Nothing else is published through it: a late view of it delays the
// stop by one event.
using StopFlag = std::atomic<std::uint8_t>;

// Returns once `flag` is set, or after about half a second: for a thread that just did
// what makes another one set it, and would outrun it. Whether the other thread
// really comes is for the caller's next look at the flag; nobody waits for good.
void giveWayTo(const StopFlag& flag);

// The flag that `callback` carries as its argument.
inline StopFlag& stopFlagOf(GenCallback* callback)
{
    return *static_cast<StopFlag*>(BN_GENCB_get_arg(callback));
}
