// The stop flag: the one byte that ends every search of the process.
#pragma once

#include "prime/big_number.h"
#include "search/one_way_flag.h"

// The stop flag that `callback` carries as its argument. It is raised once the stop
// semaphore was released or could not be waited on. Nothing else is published through
// it: a thread that sees it late stops one event later.
inline OneWayFlag& stopFlagOf(GenCallback* callback)
{
    return *static_cast<OneWayFlag*>(BN_GENCB_get_arg(callback));
}
