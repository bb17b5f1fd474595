#include "tests/fakes/critical_section.h"

#include "platform/critical_section.h"

#include <mutex>

namespace
{

std::recursive_mutex theOnlySection;

const std::function<void()> nothing = [] {
};

} // namespace

std::function<void()> fakeInitialize = nothing;
std::function<void()> fakeEnter = nothing;
std::function<void()> fakeLeave = nothing;
std::function<void()> fakeDelete = nothing;

void initializeCriticalSection(CriticalSection& /*section*/)
{
    fakeInitialize();
}

void enterCriticalSection(CriticalSection& /*section*/)
{
    fakeEnter();
    theOnlySection.lock();
}

void leaveCriticalSection(CriticalSection& /*section*/)
{
    fakeLeave();
    theOnlySection.unlock();
}

void deleteCriticalSection(CriticalSection& /*section*/)
{
    fakeDelete();
}
