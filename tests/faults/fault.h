// One fault a run: which call of the program fails, and what came of it.
//
// The calls are seen at link time (crypto_calls.cpp, system_calls.cpp) and where memory
// is given out (memory.cpp). No call fails or is counted unless a fault is armed. Wrong
// releases are always counted, and secrets in freed blocks whenever they are watched for.
#pragma once

#include <atomic>
#include <string>

enum class FaultKind { libraryCall, libraryMemory, ownMemory, systemCall };

struct Fault {
    FaultKind kind = FaultKind::libraryCall;
    // The function whose calls are counted; empty: all of the kind.
    std::string function = {};
    // The call that fails, counted from 1; 0 counts calls and lets none fail.
    int number = 0;
    // Of a system call: its errno. 0 stands for a transfer of less than was asked.
    int error = 0;
    // Of a library call: whether it fails after its work, not in place of it. Then
    // only calls that can are counted.
    bool late = false;
};

// What happened. May lie in memory that another process reads.
struct FaultReport {
    std::atomic<int> met;     // calls counted
    std::atomic<bool> struck; // whether one failed
    char function[32];        // which
    int thread;               // where: 0 for the process's own, then as they start
    bool throwing;            // a failed allocation that has to throw
    std::atomic<bool> armed;
    std::atomic<int> foreignFrees; // blocks given back twice, or never given out
    std::atomic<int> secretFrees;  // blocks given back with something secret in them
};

// The report that is written, of this process only by default.
extern FaultReport* faultReport;

// Puts the report into this file, made where it is missing, so that processes share it.
// False when that is not possible, also without a path.
bool shareFaultReport(const char* path);

// Clears the report and lets this fault happen from now on, in any thread.
void armFault(const Fault& fault);
void disarmFault();

// Describes the fault to the processes that this one starts (faulty_process.h), and
// clears what the report says of the last one.
void describeFault(const Fault& fault);

// Keeps what the harness itself does inside an armed stretch from being counted:
// the calling thread, as long as this lives.
class HarnessScope
{
public:
    HarnessScope();
    ~HarnessScope();
    HarnessScope(const HarnessScope&) = delete;
    HarnessScope& operator=(const HarnessScope&) = delete;
};

// For the places where calls are seen: counts this one and tells whether it fails.
// `late`: whether it is asked after the call's work.
bool strikes(FaultKind kind, const char* function, bool late = false);

// For allocations that throw: notes that the fault which just struck has to.
void noteThrowing();

// Tells the calling thread which one it is.
void enterThread(int number);

// The armed fault's errno.
int faultError();
