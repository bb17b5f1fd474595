// When the output of a run arrives: at once on a terminal, in blocks over a pipe.
#include "tests/support/posix/terminal.h"

#include "tests/end_to_end/run.h"
#include "tests/platform/temporary_folder.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// A search that lasts longer than its test, and makes a mark a tenth of a second.
const std::string hopeless(2048, 'F');

class Output : public EndToEnd
{
protected:
    Arguments onTerminal(const Arguments& arguments)
    {
        return outputTo(terminal.path(), NORV_PROGRAM, withSemaphore(arguments));
    }

    Terminal terminal;
};

TEST_F(Output, ShowsTheRequestForABaseOnATerminalBeforeThereIsInput)
{
    Process asking(shell, onTerminal({"-input", "2"}),
                   {Streams::Input::textAndOpen, "80 "});
    EXPECT_TRUE(terminal.shows("Please enter hex 2 bytes:\n"));
    EXPECT_TRUE(asking.isRunning());
    asking.kill();
    asking.wait();
}

TEST_F(Output, ShowsEachMarkOnATerminalWhileTheSearchGoesOn)
{
    Process searching(shell, onTerminal({"-safe", "-threads", "1", "-base", hopeless}));
    ASSERT_TRUE(terminal.shows(started("Safe prime", 8192, 1) + "."));
    EXPECT_TRUE(searching.isRunning());
    // Not the first of a thousand that came together.
    EXPECT_GT(200U, terminal.shown().size());
    ASSERT_TRUE(semaphoreAppears());
    EXPECT_TRUE(postForeign(semaphoreName));
    expectEnding(-1, "", searching.wait());
}

TEST_F(Output, OnATerminalIsThatOfAPipe)
{
    const Arguments search{"-threads", "1", "-base", "8001C0DE"};
    const Ending piped = run(search);
    expectEnding(exitCodeFor(32), "", Process(shell, onTerminal(search)).wait());
    EXPECT_EQ(withoutSeconds(piped.output), withoutSeconds(terminal.shown()));
}

// How much had come over the pipe at each read of it, until its end.
std::vector<std::size_t> arrivals(int pipe)
{
    std::vector<std::size_t> sums;
    std::array<char, 65536> block{};
    std::size_t sum = 0;
    for (ssize_t count = 0; (count = read(pipe, block.data(), block.size())) > 0;) {
        sum += static_cast<std::size_t>(count);
        sums.push_back(sum);
    }
    return sums;
}

TEST_F(Output, ComesOverAPipeInBlocks)
{
    constexpr std::size_t block = 4096;
    const TemporaryFolder folder;
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    // More than two blocks of marks.
    const std::string base =
        "CBE59A2F3306709CEBBE68DFE6724E9B480CF6F1B7BAA5EEC0EC7F3C1945B7ED"
        "65A136E72B68069C180142E409A9977761AEC3457D780BCE3D0311C5D4E8EA7C";
    Process searching(shell,
                      outputTo(path, NORV_PROGRAM,
                               withSemaphore({"-safe", "-threads", "1", "-base", base})));
    const int pipe = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_NE(-1, pipe);
    std::vector<std::size_t> sums = arrivals(pipe);
    close(pipe);
    EXPECT_EQ(exitCodeFor(512), searching.wait().exitCode);

    ASSERT_FALSE(sums.empty());
    EXPECT_LT(2 * block, sums.back());
    sums.pop_back();
    EXPECT_TRUE(std::all_of(sums.begin(), sums.end(),
                            [](std::size_t sum) { return sum % block == 0; }));
}

} // namespace
