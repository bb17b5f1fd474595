// A named semaphore that records what is done with it and does what a test
// says: linked instead of the platform's. For one thread at a time.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct FakeSemaphore {
    // Every call in order, with its arguments: "create name 0 1", "open name",
    // "release", "wait", "close".
    std::vector<std::string> calls;
    // Whether create, and open, give a handle.
    bool canCreate = true;
    bool exists = true;
    // What a release answers.
    bool canRelease = true;
    // Run inside the call of that name, after it was recorded.
    std::function<void()> onCreate = [] {
    };
    std::function<void()> onRelease = [] {
    };
    std::function<void()> onWait = [] {
    };
    std::function<void()> onClose = [] {
    };
};

extern FakeSemaphore fakeSemaphore;
