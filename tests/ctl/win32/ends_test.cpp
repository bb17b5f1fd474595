// How a run of norvctl ends before it has its prime, and that it leaves nothing behind.
#include "tests/ctl/norvctl.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/comes_true.h"
#include "tests/support/win32/children.h"

namespace
{

TEST(Search, ThatIsKilledLeavesNoRunAndNoFile)
{
    const TemporaryFolder folder;
    Process norvctl(NORVCTL_PROGRAM,
                    {"generate", "4096", "--safe", "--threads", "2", "--quiet",
                     "--output", (folder / "prime").string()});
    std::vector<OwnedHandle> children;
    ASSERT_TRUE(comesTrue([&] {
        children = childrenOf(norvctl.id());
        return !children.empty() && isInItsJob(children[0]);
    }));
    ASSERT_FALSE(hasEnded(children[0]));
    norvctl.kill();
    for (const OwnedHandle& child : children) {
        EXPECT_TRUE(comesTrue([&child] { return hasEnded(child); }));
        // It would hold the streams open for which the wait is.
        TerminateProcess(child.get(), 1);
    }
    norvctl.wait();
    EXPECT_TRUE(std::filesystem::is_empty(folder / ""));
}

} // namespace
