#include "ctl/background.h"

#include "tests/support/posix/no_threads.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

TEST(StartBackground, NeedsNoOtherThread)
{
    const NoThreads none;
    ASSERT_FALSE(canStartThread());
    uv_loop_t loop = {};
    ASSERT_EQ(0, uv_loop_init(&loop));
    Background background;
    std::string trace;
    startBackground(
        background, &loop, [&trace] { trace += "work "; },
        [&trace] { trace += "ended"; });
    EXPECT_EQ("work ", trace);
    EXPECT_EQ(0, uv_run(&loop, UV_RUN_DEFAULT));
    EXPECT_EQ("work ended", trace);
    EXPECT_EQ(0, uv_loop_close(&loop));
}

} // namespace
