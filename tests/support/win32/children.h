// The processes that another process has started.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>
#include <windows.h>
// After windows.h, whose types it uses.
#include <tlhelp32.h>

struct CloseHandleOf {
    void operator()(HANDLE handle) const
    {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
    }
};
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseHandleOf>;

// The children, by handles that can be waited for.
inline std::vector<OwnedHandle> childrenOf(int process)
{
    std::vector<OwnedHandle> children;
    const OwnedHandle all(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(all.get(), &entry); more;
         more = Process32NextW(all.get(), &entry))
        if (entry.th32ParentProcessID == static_cast<DWORD>(process))
            if (OwnedHandle child{OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION |
                                                  PROCESS_TERMINATE,
                                              FALSE, entry.th32ProcessID)})
                children.push_back(std::move(child));
    return children;
}

inline bool hasEnded(const OwnedHandle& process)
{
    return WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0;
}

// Whether a process is in its job, where it gets only after it was created. Where this
// process is in a job, so is every child from the first: there the time that the child
// has run tells it. Wine knows the job only: it gives the caller's time for that of any
// process.
inline bool isInItsJob(const OwnedHandle& process)
{
    constexpr DWORD aWhile = 1'000'000; // in units of 100 nanoseconds
    BOOL inJob = FALSE;
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    return IsProcessInJob(process.get(), nullptr, &inJob) && inJob &&
           GetProcessTimes(process.get(), &created, &ended, &kernel, &user) &&
           (user.dwLowDateTime >= aWhile || user.dwHighDateTime > 0);
}
