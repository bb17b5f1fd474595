#include "platform/yield.h"

#include <sched.h>

void yieldThread()
{
    sched_yield();
}
