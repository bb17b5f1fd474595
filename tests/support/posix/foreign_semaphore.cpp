#include "tests/support/foreign_semaphore.h"

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <string>
#include <unistd.h>

namespace
{

// The C library guards its table of semaphores with a lock that the thread
// sanitizer does not see: tests whose threads ask side by side need one it sees.
std::mutex tableMutex;

struct Close {
    void operator()(sem_t* semaphore) const
    {
        const std::scoped_lock lock(tableMutex);
        sem_close(semaphore);
    }
};
using Opened = std::unique_ptr<sem_t, Close>;

// Tests name their semaphores in ASCII.
std::string systemName(const std::wstring& name)
{
    std::string bytes = "/";
    for (const wchar_t character : name)
        bytes.push_back(static_cast<char>(character));
    return bytes;
}

Opened openExisting(const std::wstring& name)
{
    const std::scoped_lock lock(tableMutex);
    sem_t* semaphore = sem_open(systemName(name).c_str(), 0);
    return Opened(semaphore == SEM_FAILED ? nullptr : semaphore);
}

} // namespace

std::wstring uniqueSemaphoreName(const std::wstring& suffix)
{
    return L"norv_test_" + std::to_wstring(getpid()) + L"_" + suffix;
}

bool createForeign(const std::wstring& name, int count)
{
    const std::scoped_lock lock(tableMutex);
    sem_t* semaphore = sem_open(systemName(name).c_str(), O_CREAT | O_EXCL, 0600,
                                static_cast<unsigned int>(count));
    return semaphore != SEM_FAILED && sem_close(semaphore) == 0;
}

void removeForeign(const std::wstring& name)
{
    sem_unlink(systemName(name).c_str());
}

bool existsForeign(const std::wstring& name)
{
    return openExisting(name) != nullptr;
}

bool postForeign(const std::wstring& name)
{
    const Opened semaphore = openExisting(name);
    return semaphore && sem_post(semaphore.get()) == 0;
}

int countForeign(const std::wstring& name)
{
    const Opened semaphore = openExisting(name);
    int count = -1;
    if (semaphore)
        sem_getvalue(semaphore.get(), &count);
    return count;
}
