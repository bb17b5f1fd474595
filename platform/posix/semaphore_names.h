// The end of a process that still holds named semaphores.
#pragma once

// Removes the names that only this process keeps alive. From then on the process can
// create or open no semaphore. Its handles stay usable: threads may be waiting on them.
void giveUpSemaphoreNames();
