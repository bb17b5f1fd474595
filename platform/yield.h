// Giving up the processor, apart from the other thread calls so that a test
// can count the yields of a wait.
#pragma once

// Lets another thread that is ready run; returns at once when there is none.
void yieldThread();
