// The named semaphores of the system as any other program reaches them, with
// none of this program's code.
#pragma once

#include <string>

// A name that no other test, and no other run of this test, uses. `suffix`
// tells the names of one process apart.
std::wstring uniqueSemaphoreName(const std::wstring& suffix = {});

// Makes a semaphore that stays until removeForeign. False when the name exists.
bool createForeign(const std::wstring& name, int count);

// POSIX: removes the name, whoever made it; holders keep the semaphore. Windows: closes
// the handle of createForeign; the name goes with its last handle.
void removeForeign(const std::wstring& name);

bool existsForeign(const std::wstring& name);

// Raises the count by one. False when there is no such semaphore.
bool postForeign(const std::wstring& name);

// The count, or -1 when there is no such semaphore. Nobody else may use it now.
int countForeign(const std::wstring& name);
