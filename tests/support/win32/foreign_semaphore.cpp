#include "tests/support/foreign_semaphore.h"

#include <limits>
#include <map>
#include <memory>
#include <type_traits>
#include <windows.h>

namespace
{

struct Close {
    void operator()(HANDLE handle) const
    {
        CloseHandle(handle);
    }
};
using Opened = std::unique_ptr<std::remove_pointer_t<HANDLE>, Close>;

// A name goes with its last handle: these keep theirs until removeForeign.
std::map<std::wstring, Opened>& keptSemaphores()
{
    static std::map<std::wstring, Opened> kept;
    return kept;
}

Opened openExisting(const std::wstring& name)
{
    return Opened(
        OpenSemaphoreW(SYNCHRONIZE | SEMAPHORE_MODIFY_STATE, FALSE, name.c_str()));
}

} // namespace

std::wstring uniqueSemaphoreName(const std::wstring& suffix)
{
    return L"norv_test_" + std::to_wstring(GetCurrentProcessId()) + L"_" + suffix;
}

bool createForeign(const std::wstring& name, int count)
{
    Opened semaphore(
        CreateSemaphoreW(nullptr, count, std::numeric_limits<LONG>::max(), name.c_str()));
    if (!semaphore || GetLastError() == ERROR_ALREADY_EXISTS)
        return false;
    keptSemaphores()[name] = std::move(semaphore);
    return true;
}

void removeForeign(const std::wstring& name)
{
    keptSemaphores().erase(name);
}

bool existsForeign(const std::wstring& name)
{
    return openExisting(name) != nullptr;
}

bool postForeign(const std::wstring& name)
{
    const Opened semaphore = openExisting(name);
    return semaphore && ReleaseSemaphore(semaphore.get(), 1, nullptr) != 0;
}

int countForeign(const std::wstring& name)
{
    const Opened semaphore = openExisting(name);
    if (!semaphore)
        return -1;
    // Nothing tells the count: taken down to zero and put back.
    int count = 0;
    while (WaitForSingleObject(semaphore.get(), 0) == WAIT_OBJECT_0)
        ++count;
    if (count > 0)
        ReleaseSemaphore(semaphore.get(), count, nullptr);
    return count;
}
