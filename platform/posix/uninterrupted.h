// Calls of the system that a signal may interrupt.
#pragma once

#include <cerrno>

// Makes `call`, again and again as long as a signal interrupts it. Returns what it
// returned last: -1, with errno, when it failed for another reason.
template <typename Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}
