// Dependents: programs that this process starts, and that do not outlive it.
//
// When this process ends, in whatever way, its dependents are killed, and the named
// semaphores that they had created are removed. What ends this process from a terminal or
// by a request (Ctrl-C, hang-up, termination) leaves a dependent alone: its starter
// decides when it ends.
#pragma once

#include <string>
#include <vector>

// The exit code of a dependent whose program could not be started.
inline constexpr int cannotStart = 127;

// To be called once, before the first dependent is started and while this process has one
// thread. Where the system cannot do what is promised above, false.
bool prepareForDependents();

// What to start so that `program`, a path, runs as a dependent with these arguments (its
// own name not among them): the path of a program, which is also its own name, and then
// its arguments.
std::vector<std::string> dependentCommand(const std::string& program,
                                          const std::vector<std::string>& arguments);

// The descriptor that each dependent must inherit as its descriptor 3; -1 when there is
// none to inherit. Owned by this process.
int dependentDescriptor();

// A dependent that is about to be started will create the semaphore of this name, of
// printable ASCII characters.
void expectSemaphore(const std::string& name);

// The dependent that was expected to create it has ended. If it was killed, its semaphore
// is removed.
void forgetSemaphore(const std::string& name, bool wasKilled);

// To be called when all dependents have ended and no other will be started. Returns when
// nothing is left of what prepareForDependents did.
void finishWithDependents();

// To be called first of all in main, with its arguments. In a process that was started by
// dependentCommand it becomes the program and does not return, or ends the process with
// cannotStart. Otherwise it does nothing.
void becomeDependent(int count, char** arguments);
