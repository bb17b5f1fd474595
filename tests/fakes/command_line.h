// A command line that a test writes: linked instead of the process's own.
#pragma once

// What commandLine() answers. Null by default.
extern const wchar_t* fakeCommandLine;
