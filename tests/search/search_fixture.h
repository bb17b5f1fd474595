// A search for 64-bit primes above a base, installed in the shared state for the
// length of one test.
#pragma once

#include "search/generation_callback.h"
#include "search/search_state.h"
#include "search/settings.h"
#include "search/stop_flag.h"
#include "tests/support/big.h"
#include "tests/support/shared_state.h"

#include <new>

inline OwnedCallback makeCallback(OneWayFlag& stopFlag)
{
    OwnedCallback callback(BN_GENCB_new());
    if (!callback)
        throw std::bad_alloc();
    BN_GENCB_set(callback.get(), callBack2, &stopFlag);
    return callback;
}

class SearchFixture : public SharedStateTest
{
protected:
    SearchFixture()
    {
        noPrompt = 1;
        setBase(lock, fromHex("1'0000'0000'0000'0000").release(), 64);
    }

    // Takes the result published last out of the shared state, as the next one
    // would drop it there for good.
    static BigNumber takeResult()
    {
        return BigNumber(resultPrime.exchange(nullptr));
    }

    TrackedLock lock;
    OneWayFlag stopFlag{0};
    OwnedCallback callback = makeCallback(stopFlag);
};
