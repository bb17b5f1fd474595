// A critical section whose steps a test watches: linked instead of the
// platform's. All sections are one and the same re-entrant lock.
#pragma once

#include <functional>

// Run at the start of the call: before the section is initialised, is entered,
// is left, is deleted. Nothing by default.
extern std::function<void()> fakeInitialize;
extern std::function<void()> fakeEnter;
extern std::function<void()> fakeLeave;
extern std::function<void()> fakeDelete;
