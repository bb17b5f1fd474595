// A name that a test has to itself, and the handles to its semaphore.
#pragma once

#include "platform/named_semaphore.h"
#include "tests/support/foreign_semaphore.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

class NamedSemaphoreFixture : public testing::Test
{
public:
    NamedSemaphoreFixture(const NamedSemaphoreFixture&) = delete;
    NamedSemaphoreFixture& operator=(const NamedSemaphoreFixture&) = delete;

protected:
    explicit NamedSemaphoreFixture(const std::wstring& suffix)
        : name(uniqueSemaphoreName(suffix))
    {
    }

    ~NamedSemaphoreFixture() override
    {
        // Handles first, then what foreign hands made.
        while (!handles_.empty())
            close(handles_.back());
        removeForeign(name);
    }

    // Handles that are closed at the end of the test at the latest. Without one the test
    // fails at once.
    SemaphoreHandle create(int count, int maximum)
    {
        return keep(createNamedSemaphore(name.c_str(), count, maximum));
    }
    SemaphoreHandle open()
    {
        return keep(openNamedSemaphore(name.c_str()));
    }

    void close(SemaphoreHandle handle)
    {
        handles_.erase(std::find(handles_.begin(), handles_.end(), handle));
        closeSemaphore(handle);
    }

    // Whether the name can neither be created nor opened.
    bool isRefused() const
    {
        return createNamedSemaphore(name.c_str(), 0, 1) == nullptr &&
               openNamedSemaphore(name.c_str()) == nullptr;
    }

    const std::wstring name;

private:
    SemaphoreHandle keep(SemaphoreHandle handle)
    {
        if (!handle)
            throw std::runtime_error("no handle to the semaphore");
        handles_.push_back(handle);
        return handle;
    }

    std::vector<SemaphoreHandle> handles_;
};
