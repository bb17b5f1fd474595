#include "ctl/background.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace
{

// A loop that runs until nothing is left to wait for.
class StartBackground : public testing::Test
{
protected:
    StartBackground()
    {
        uv_loop_init(&loop);
    }

    void run()
    {
        EXPECT_EQ(0, uv_run(&loop, UV_RUN_DEFAULT));
        EXPECT_EQ(0, uv_loop_close(&loop));
    }

    uv_loop_t loop = {};
    Background background;
};

TEST_F(StartBackground, RunsWorkBesideTheLoopAndItsEndOnTheLoop)
{
    const std::thread::id here = std::this_thread::get_id();
    std::thread::id worked = here;
    std::thread::id ended;
    startBackground(
        background, &loop, [&worked] { worked = std::this_thread::get_id(); },
        [&ended] { ended = std::this_thread::get_id(); });
    EXPECT_NE(here, ended);
    run();
    EXPECT_NE(here, worked);
    EXPECT_EQ(here, ended);
}

TEST_F(StartBackground, CanBeCalledWhereTheFormerWorkEnds)
{
    std::string trace;
    startBackground(
        background, &loop, [&trace] { trace += "check "; },
        [this, &trace] {
            trace += "checked ";
            startBackground(
                background, &loop, [&trace] { trace += "write "; },
                [&trace] { trace += "written"; });
        });
    run();
    EXPECT_EQ("check checked write written", trace);
}

} // namespace
