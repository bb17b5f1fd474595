// The progress file of a process that may hold few files open.
#include "tests/end_to_end/run.h"
#include "tests/platform/temporary_folder.h"

#include <algorithm>

namespace
{

class ProgressFile : public EndToEnd
{
protected:
    const TemporaryFolder folder;
};

TEST_F(ProgressFile, TakesMoreMarksThanTheProcessMayHoldFilesOpen)
{
    const std::filesystem::path marks = folder / "marks";
    Arguments arguments =
        withSemaphore({"-safe", "-noPrompt", "-threads", "1", "-base",
                       std::string(32, '7'), "-outPrompt", marks.string()});
    arguments.insert(arguments.begin(),
                     {"-c", R"(ulimit -n 100 && exec "$0" "$@")", NORV_PROGRAM});
    const Ending ending = Process("/bin/sh", arguments).wait();
    EXPECT_EQ(exitCodeFor(128), ending.exitCode);

    // The prime passes 64 turns, the last mark among them.
    const std::string content = contentOf(marks);
    EXPECT_EQ(64, std::count(content.begin(), content.end(), '!'));
}

} // namespace
