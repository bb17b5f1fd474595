// Giving up the processor. In a file of its own, so that a test can count the yields
// without replacing the other thread calls.
#pragma once

// Lets another thread that is ready run; returns at once when there is none.
void yieldThread();
