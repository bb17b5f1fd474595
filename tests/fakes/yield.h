// A yield that a test counts: linked instead of the platform's.
#pragma once

#include <functional>

// What a yield does. Nothing by default.
extern std::function<void()> fakeYield;
