// The process as a whole: its start and its end.
#pragma once

// To be called before anything else. Afterwards a write that nobody reads any
// more, or that passes a limit on file sizes, fails instead of ending the process;
// the standard streams that the caller left closed fail every read and write
// instead of naming the next file that is opened; and an exception that nothing
// catches ends the process abnormally without a word. Cannot fail.
void prepareProcess();

// Makes standard output, where it is a terminal, show each character at once; a pipe
// or a file still gets blocks. To be called before the first output. Where the system
// refuses, the output comes later and is the same.
void showOutputAtOnce();

// Ends the process with `exitCode` at once, its other threads wherever they
// are: what standard output holds is written, named semaphores are given up,
// nothing is destroyed. For an end while threads still use what an ordinary
// return would take away from them.
[[noreturn]] void endProcess(int exitCode);
