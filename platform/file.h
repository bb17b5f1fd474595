// Files by wide path.
#pragma once

#include <cstdio>

// Opens the file at `path` for appending text, and creates it where there is
// none. The path is one that commandLine() gave: the file opened is the one
// whose name was typed, to the byte. Null on failure; the caller closes the
// stream with std::fclose.
std::FILE* openForAppending(const wchar_t* path);
