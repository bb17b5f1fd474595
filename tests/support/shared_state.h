// The state that the searches of a process share, as it is before the first of them.
#pragma once

#include <gtest/gtest.h>

// Frees what the state owns. No thread may use it any more, and nobody else may have
// freed the prime published last.
void resetSharedState();

// A test that may leave the shared state in any shape.
class SharedStateTest : public testing::Test
{
protected:
    ~SharedStateTest() override
    {
        resetSharedState();
    }
};
