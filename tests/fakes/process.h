// The end of the process, made an exception: linked instead of the platform's.
#pragma once

// Thrown by endProcess.
struct ProcessEnd {
    int exitCode;
};
