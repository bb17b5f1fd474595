// The clock that measurements read.
#pragma once

// The CPU time that the calling thread has taken so far, in seconds.
double cpuSeconds();
