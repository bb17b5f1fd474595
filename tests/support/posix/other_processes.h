// What the system tells of processes, such as those that another process has started.
#pragma once

#include <string>
#include <vector>

// The children of a process that have not ended, in the order of their numbers.
std::vector<int> childrenOf(int process);

// The arguments that a process was started with, its own name first; none when it has
// ended.
std::vector<std::string> argumentsOf(int process);

// The processor time that the process has used, with all its threads; 0 when it has
// ended.
double processorSecondsOf(int process);

// Whether the process exists and has not ended.
bool isAlive(int process);
