// What asks a command to end from outside: Ctrl-C, the terminal's end, a request to
// terminate.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <uv.h>

// The exit code and the line for people of an end.
struct EndReason {
    int exitCode = 0;      // 0: there is no reason
    std::string line = {}; // empty: nothing to say
};

// The requests that a loop hears. It stays where it is while they are open.
struct EndRequests {
    std::function<void(const EndReason&)> arrived;
    std::array<uv_signal_t, 3> signals = {};
};

// Calls `arrived` from the loop for each request, until closeEndRequests, except for
// signals that whoever started this process made it ignore (nohup). Throws
// std::bad_alloc; then the process must end.
void listenForEndRequests(EndRequests& requests, uv_loop_t* loop,
                          std::function<void(const EndReason&)> arrived);
void closeEndRequests(EndRequests& requests);
