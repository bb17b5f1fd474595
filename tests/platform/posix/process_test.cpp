// Streams that nobody reads any more or that the caller left closed, output to a
// terminal, and an end that other processes must not notice.
#include "platform/process.h"

#include "platform/named_semaphore.h"
#include "platform/posix/semaphore_names.h"
#include "tests/platform/posix/child.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/posix/terminal.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

// The checks run in a process of their own and answer 0 when all is well.

TEST(PrepareProcess, MakesAWriteThatNobodyReadsFail)
{
    Child child([] {
        prepareProcess();
        int ends[2];
        if (pipe(ends) != 0 || close(ends[0]) != 0)
            return 1;
        return write(ends[1], "x", 1) == -1 && errno == EPIPE ? 0 : 2;
    });
    EXPECT_EQ(0, child.wait());
}

TEST(PrepareProcess, MakesAWriteBeyondTheFileSizeLimitFail)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "limited").string();
    Child child([&path] {
        prepareProcess();
        const rlimit limit{1, 1};
        const int file = open(path.c_str(), O_CREAT | O_WRONLY, 0600);
        if (file == -1 || setrlimit(RLIMIT_FSIZE, &limit) != 0 ||
            write(file, "x", 1) != 1)
            return 1;
        return write(file, "y", 1) == -1 && errno == EFBIG ? 0 : 2;
    });
    EXPECT_EQ(0, child.wait());
}

TEST(PrepareProcess, MakesAnUncaughtExceptionEndItWithoutAWord)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "errors").string();
    Child child([&path] {
        prepareProcess();
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        if (std::freopen(path.c_str(), "wb", stderr))
            std::terminate(); // as an exception without a handler does
        return 1;
    });
    EXPECT_EQ(-1, child.wait());
    EXPECT_EQ("", contentOf(path));
}

class PrepareProcessWithAClosedStream : public testing::TestWithParam<int>
{
};

TEST_P(PrepareProcessWithAClosedStream, MakesItsUseFail)
{
    const int descriptor = GetParam();
    Child child([descriptor] {
        close(descriptor);
        prepareProcess();
        char byte = 0;
        if (descriptor == 0)
            return read(descriptor, &byte, 1) == -1 ? 0 : 1;
        return write(descriptor, "x", 1) == -1 ? 0 : 2;
    });
    EXPECT_EQ(0, child.wait());
}

TEST_P(PrepareProcessWithAClosedStream, KeepsItFromNamingTheNextFile)
{
    const int descriptor = GetParam();
    Child child([descriptor] {
        close(descriptor);
        prepareProcess();
        return open("/dev/null", O_RDWR) > 2 ? 0 : 1;
    });
    EXPECT_EQ(0, child.wait());
}

INSTANTIATE_TEST_SUITE_P(InputOutputAndError, PrepareProcessWithAClosedStream,
                         testing::Values(0, 1, 2));

TEST(PrepareProcess, ClosesAllThreeStreamsAtOnceToo)
{
    Child child([] {
        for (int descriptor = 0; descriptor <= 2; ++descriptor)
            close(descriptor);
        prepareProcess();
        char byte = 0;
        if (read(0, &byte, 1) != -1 || write(1, "x", 1) != -1 || write(2, "x", 1) != -1)
            return 1;
        return open("/dev/null", O_RDWR) > 2 ? 0 : 2;
    });
    EXPECT_EQ(0, child.wait());
}

TEST(PrepareProcess, LeavesOpenStreamsAsTheyAre)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    Child child([&ends] {
        dup2(ends[0], 0);
        dup2(ends[1], 1);
        prepareProcess();
        char byte = 0;
        const bool passed = write(1, "x", 1) == 1 && read(0, &byte, 1) == 1;
        return passed && byte == 'x' ? 0 : 1;
    });
    EXPECT_EQ(0, child.wait());
    close(ends[0]);
    close(ends[1]);
}

// Prints a mark to the file at `path` and ends, with nothing flushed.
int printAndEnd(const std::string& path)
{
    if (!std::freopen(path.c_str(), "w", stdout))
        return 1;
    showOutputAtOnce();
    return std::fputs(".", stdout) == EOF ? 2 : 0;
}

TEST(ShowOutputAtOnce, LetsATerminalShowWhatIsPrinted)
{
    Terminal terminal;
    Child child([&] { return printAndEnd(terminal.path()); });
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(".", terminal.shown());
}

TEST(ShowOutputAtOnce, LeavesAFileItsBuffer)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "output").string();
    // Looked at by the child: a sanitizer flushes the streams at the end.
    Child child([&] {
        const int failure = printAndEnd(path);
        return failure == 0 && !contentOf(path).empty() ? 3 : failure;
    });
    EXPECT_EQ(0, child.wait());
}

TEST(EndProcess, LeavesSemaphoresToTheirOtherHolders)
{
    const std::wstring name = uniqueSemaphoreName(L"shared");
    const Gate created;
    // Made first: a process that is forked with a handle would share it.
    Child child([&] {
        created.pass();
        SemaphoreHandle semaphore = openNamedSemaphore(name.c_str());
        endProcess(semaphore && releaseSemaphore(semaphore) ? 5 : 6);
        return 7;
    });
    SemaphoreHandle semaphore = createNamedSemaphore(name.c_str(), 0, 1);
    created.open();
    EXPECT_EQ(5, child.wait());
    ASSERT_NE(nullptr, semaphore);
    EXPECT_EQ(1, countForeign(name));
    closeSemaphore(semaphore);
    EXPECT_FALSE(existsForeign(name));
}

TEST(EndProcess, LetsNoThreadMakeANameAnyMore)
{
    const std::wstring name = uniqueSemaphoreName(L"late");
    Child child([&] {
        createNamedSemaphore(name.c_str(), 0, 1);
        giveUpSemaphoreNames();
        if (existsForeign(name))
            return 1;
        if (createNamedSemaphore(name.c_str(), 0, 1) != nullptr)
            return 2;
        return openNamedSemaphore(name.c_str()) != nullptr ? 3 : 0;
    });
    EXPECT_EQ(0, child.wait());
    EXPECT_FALSE(existsForeign(name));
}

TEST(EndProcess, LeavesHandlesUsableToThreadsThatStillWait)
{
    const std::wstring name = uniqueSemaphoreName(L"waiting");
    Child child([&] {
        SemaphoreHandle semaphore = createNamedSemaphore(name.c_str(), 0, 1);
        giveUpSemaphoreNames();
        return releaseSemaphore(semaphore) && waitForSemaphore(semaphore) ? 0 : 1;
    });
    EXPECT_EQ(0, child.wait());
}

} // namespace
