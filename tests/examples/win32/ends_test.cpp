// The C++ example ends norv with itself.
#include "tests/ctl/norvctl.h"
#include "tests/examples/example.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/comes_true.h"
#include "tests/support/win32/children.h"

namespace
{

// norv runs when it is in its job, so a file that it makes tells that it is.
TEST(CppProgram, ThatIsKilledLeavesNoRun)
{
    const TemporaryFolder folder;
    const EnvironmentVariable norv("NORV", FAKE_NORV);
    const FakeNorv fake("mark " + (folder / "file").string());
    Process program(FIND_PRIME, {"--safe"}, {Streams::Input::text, hopelessBase});
    ASSERT_TRUE(comesTrue([&] { return std::filesystem::exists(folder / "file"); }));
    const std::vector<OwnedHandle> children = childrenOf(program.id());
    ASSERT_FALSE(children.empty());
    EXPECT_FALSE(hasEnded(children[0]));
    program.kill();
    for (const OwnedHandle& child : children) {
        EXPECT_TRUE(comesTrue([&child] { return hasEnded(child); }));
        // It would hold the streams open for which the wait is.
        TerminateProcess(child.get(), 1);
    }
    program.wait();
}

} // namespace
