#include "platform/end_signal.h"

#include <csignal>
#include <gtest/gtest.h>

namespace
{

TEST(IsIgnored, TellsASignalThatIsIgnoredFromOneThatIsHandledOrEndsTheProcess)
{
    // Whoever started the test may have wished for anything.
    const auto before = std::signal(SIGHUP, SIG_DFL);
    const auto terminate = std::signal(SIGTERM, SIG_DFL);
    EXPECT_FALSE(isIgnored(SIGHUP));
    std::signal(SIGHUP, SIG_IGN);
    EXPECT_TRUE(isIgnored(SIGHUP));
    EXPECT_FALSE(isIgnored(SIGTERM));
    std::signal(SIGHUP, [](int) {});
    EXPECT_FALSE(isIgnored(SIGHUP));
    std::signal(SIGHUP, before);
    std::signal(SIGTERM, terminate);
}

TEST(IsIgnored, IsFalseForWhatIsNoSignal)
{
    EXPECT_FALSE(isIgnored(-1));
}

} // namespace
