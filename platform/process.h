// The process as a whole: its start and its end.
#pragma once

// To be called before anything else. Cannot fail. Afterwards
//  - a write that nobody reads any more, or that passes a limit on file sizes, fails
//    instead of ending the process;
//  - a standard stream that the caller left closed fails every read and write, instead of
//    standing for the next file that is opened;
//  - an exception that nothing catches ends the process abnormally without a message.
void prepareProcess();

// With what the name of a program's file ends, in ASCII: ".exe", or nothing.
extern const char* const programEnding;

// Makes standard output, where it is a terminal, show each character at once; a pipe
// or a file still gets blocks. To be called before the first output. Where the system
// refuses, the output comes later and is the same.
void showOutputAtOnce();

// Ends the process with `exitCode` at once, wherever its other threads are. What standard
// output holds is written and named semaphores are given up; nothing is destroyed. For an
// end while threads still use what an ordinary return would destroy.
[[noreturn]] void endProcess(int exitCode);
