// Work beside the event loop.
#pragma once

#include <functional>
#include <thread>
#include <uv.h>

// Filled by startBackground. It stays where it is until `ended` runs.
struct Background {
    uv_async_t done = {};
    std::thread thread;
    std::function<void()> work;
    std::function<void()> ended;
};

// Runs `work` on a thread of its own, and then `ended` on the loop's thread, which may
// start the next work in the same Background. Where the system gives no thread, `work`
// runs on the loop's thread before this returns: what was searched for an hour must not
// be lost for lack of a thread. Where it gives no room for a handle either, so does
// `ended`. Neither function throws.
//
// libuv's own threads do not serve here: it ends the process where one cannot start.
void startBackground(Background& background, uv_loop_t* loop, std::function<void()> work,
                     std::function<void()> ended);
