#include "search/stop_flag.h"

#include "platform/thread.h"
#include "platform/yield.h"

namespace
{

// Enough for a thread that can run at once, on another processor or this one.
constexpr int yields = 200;
// Beyond that the machine is busy, or the other thread does not come.
constexpr int pauses = 100;

} // namespace

void giveWayTo(const StopFlag& flag)
{
    for (int i = 0; flag == 0 && i < yields; ++i)
        yieldThread();
    for (int i = 0; flag == 0 && i < pauses; ++i)
        pauseThread(1);
}
