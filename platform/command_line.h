// The command line of this process as one wide string.
#pragma once

// The whole command line, the program's own path first. On Windows it stands as the
// caller typed or built it; on POSIX it is joined again from the arguments. Null when the
// system does not give it. The string belongs to the process and never changes.
const wchar_t* commandLine();
