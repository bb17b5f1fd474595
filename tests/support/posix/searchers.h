// The runs of norv that another process has started.
#pragma once

#include "tests/support/posix/other_processes.h"

#include <string>
#include <vector>

// A run of norv, and the name that its stop semaphore has or will have.
struct Searcher {
    int process;
    std::wstring semaphore;
};

// Those among the descendants of a process that were given a name.
inline std::vector<Searcher> searchersOf(int process)
{
    std::vector<Searcher> searchers;
    for (const int child : childrenOf(process)) {
        const std::vector<std::string> arguments = argumentsOf(child);
        for (std::size_t i = 1; i + 1 < arguments.size(); ++i)
            if (arguments[i] == "-stopSemaphoreName")
                searchers.push_back(
                    {child, {arguments[i + 1].begin(), arguments[i + 1].end()}});
        for (Searcher& searcher : searchersOf(child))
            searchers.push_back(std::move(searcher));
    }
    return searchers;
}
