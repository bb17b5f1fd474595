#include "tests/fakes/yield.h"

#include "platform/yield.h"

std::function<void()> fakeYield = [] {
};

void yieldThread()
{
    fakeYield();
}
