#include "platform/posix/tries.h"

#include "platform/thread.h"
#include "platform/yield.h"

namespace
{

// Enough for a process that can run at once and holds what is waited for.
constexpr int mostYields = 12;

} // namespace

Tries::Tries(std::chrono::milliseconds patience)
    : end_(std::chrono::steady_clock::now() + patience)
{
}

bool Tries::another()
{
    if (std::chrono::steady_clock::now() >= end_)
        return false;
    if (made_++ < mostYields)
        yieldThread();
    else
        pauseThread(1);
    return true;
}
