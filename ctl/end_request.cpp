#include "ctl/end_request.h"

#include "platform/end_signal.h"

#include <csignal>
#include <new>
#include <utility>

namespace
{

EndReason reasonOf(int signal)
{
    switch (signal) {
    case SIGINT:
        return {128 + SIGINT, "stopped by an interrupt (Ctrl-C)"};
    case SIGTERM:
        return {128 + SIGTERM, "stopped by a request to terminate"};
    default:
        return {129, "stopped because the terminal was closed"};
    }
}

void signalArrived(uv_signal_t* handle, int number) noexcept
{
    static_cast<EndRequests*>(handle->data)->arrived(reasonOf(number));
}

} // namespace

void listenForEndRequests(EndRequests& requests, uv_loop_t* loop,
                          std::function<void(const EndReason&)> arrived)
{
    constexpr std::array<int, 3> numbers{SIGINT, SIGHUP, SIGTERM};
    requests.arrived = std::move(arrived);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        requests.signals[i].data = &requests;
        const bool ignored = isIgnored(numbers[i]);
        if (uv_signal_init(loop, &requests.signals[i]) != 0 ||
            (!ignored &&
             uv_signal_start(&requests.signals[i], signalArrived, numbers[i]) != 0))
            throw std::bad_alloc();
    }
}

void closeEndRequests(EndRequests& requests)
{
    for (uv_signal_t& handle : requests.signals)
        uv_close(reinterpret_cast<uv_handle_t*>(&handle), nullptr);
}
