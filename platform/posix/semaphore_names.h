// The end of a process that still holds named semaphores.
#pragma once

// Takes the names away that only this process keeps alive, and lets it create
// or open no more. The handles stay usable: threads may be waiting on them.
void giveUpSemaphoreNames();
