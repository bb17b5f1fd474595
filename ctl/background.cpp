#include "ctl/background.h"

#include <exception>
#include <openssl/crypto.h>
#include <utility>

namespace
{

void handleClosed(uv_handle_t* handle) noexcept
{
    // It may start the next work, which takes the place of this function.
    const std::function<void()> ended =
        std::move(static_cast<Background*>(handle->data)->ended);
    ended();
}

void workEnded(uv_async_t* done) noexcept
{
    std::thread& thread = static_cast<Background*>(done->data)->thread;
    if (thread.joinable())
        thread.join();
    uv_close(reinterpret_cast<uv_handle_t*>(done), handleClosed);
}

} // namespace

void startBackground(Background& background, uv_loop_t* loop, std::function<void()> work,
                     std::function<void()> ended)
{
    if (uv_async_init(loop, &background.done, workEnded) != 0) {
        work();
        return ended();
    }
    background.done.data = &background;
    background.work = std::move(work);
    background.ended = std::move(ended);
    try {
        background.thread = std::thread([&background] {
            background.work();
            // Where libcrypto is part of the program, nobody else tells it.
            OPENSSL_thread_stop();
            uv_async_send(&background.done);
        });
    } catch (const std::exception&) {
        background.work();
        uv_async_send(&background.done);
    }
}
