// The processes that another process has started.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The children of a process that have not ended, in the order of their numbers.
std::vector<int> childrenOf(int process);

// The arguments that a process was started with, its own name first; none when it has
// ended.
std::vector<std::string> argumentsOf(int process);

// How many threads the process has; 0 when it has ended.
std::size_t threadsOf(int process);

// Whether the process exists and has not ended.
bool isAlive(int process);
