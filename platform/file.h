// Files by wide path.
#pragma once

#include <cstdio>

// Opens the file at `path` for appending text, and creates it where there is
// none. The path is one that commandLine() gave: the file opened is the one
// whose name was typed, to the byte. Neither the opening nor, on POSIX, the writing
// waits for a reader, where the path is a pipe: it fails. Null on failure; the
// caller closes the stream with std::fclose.
std::FILE* openForAppending(const wchar_t* path);
