// Files by wide path.
#pragma once

#include <cstdio>

// Opens the file at `path` for appending text, and creates it when there is none. The
// path comes from commandLine(): the file opened is the one whose name was typed, to the
// byte. When the path is a pipe without a reader, the opening fails and does not wait; on
// POSIX, writing to a full pipe does the same. Null on failure; the caller closes the
// stream with std::fclose.
std::FILE* openForAppending(const wchar_t* path);
