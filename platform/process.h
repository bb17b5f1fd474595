// The process as a whole: its start and its end.
#pragma once

// To be called before anything else. Afterwards a write that nobody reads any
// more fails instead of ending the process, and the standard streams that the
// caller left closed fail every read and write instead of naming the next file
// that is opened. Cannot fail.
void prepareProcess();

// Ends the process with `exitCode` at once, its other threads wherever they
// are: what standard output holds is written, named semaphores are given up,
// nothing is destroyed. For an end while threads still use what an ordinary
// return would take away from them.
[[noreturn]] void endProcess(int exitCode);
