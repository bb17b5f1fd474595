#include "tests/fakes/named_semaphore.h"

#include "platform/named_semaphore.h"

#include <string_view>

struct SemaphoreObject {
};

// The platform's own end of a process asks for it, where it has one.
void giveUpSemaphoreNames();

FakeSemaphore fakeSemaphore;

namespace
{

SemaphoreObject theOnlyHandle;

std::string plain(std::wstring_view name)
{
    std::string text;
    for (const wchar_t character : name)
        text.push_back(static_cast<char>(character));
    return text;
}

} // namespace

SemaphoreHandle createNamedSemaphore(const wchar_t* name, int count, int maximum)
{
    fakeSemaphore.calls.push_back("create " + plain(name) + " " + std::to_string(count) +
                                  " " + std::to_string(maximum));
    fakeSemaphore.onCreate();
    return fakeSemaphore.canCreate ? &theOnlyHandle : nullptr;
}

SemaphoreHandle openNamedSemaphore(const wchar_t* name)
{
    fakeSemaphore.calls.push_back("open " + plain(name));
    return fakeSemaphore.exists ? &theOnlyHandle : nullptr;
}

bool releaseSemaphore(SemaphoreHandle /*semaphore*/)
{
    fakeSemaphore.calls.emplace_back("release");
    fakeSemaphore.onRelease();
    return fakeSemaphore.canRelease;
}

bool waitForSemaphore(SemaphoreHandle /*semaphore*/)
{
    fakeSemaphore.calls.emplace_back("wait");
    fakeSemaphore.onWait();
    return true;
}

void closeSemaphore(SemaphoreHandle /*semaphore*/)
{
    fakeSemaphore.calls.emplace_back("close");
    fakeSemaphore.onClose();
}

void giveUpSemaphoreNames() {}
