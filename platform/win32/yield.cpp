#include "platform/yield.h"

#include <windows.h>

void yieldThread()
{
    Sleep(0);
}
