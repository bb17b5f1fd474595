// Results that go to pipes and devices.
#include "ctl/output_file.h"

#include "tests/ctl/norvctl.h"
#include "tests/platform/temporary_folder.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::string readAll(int descriptor)
{
    std::string all;
    char block[4096];
    ssize_t count = 0;
    while ((count = read(descriptor, block, sizeof block)) > 0)
        all.append(block, static_cast<std::size_t>(count));
    EXPECT_EQ(0, count);
    return all;
}

class NamedPipe : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    }
    void openReader()
    {
        reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_NE(-1, reader);
    }
    void TearDown() override
    {
        close(reader);
    }

    TemporaryFolder folder;
    std::string path = (folder / "pipe").string();
    int reader = -1;
};

TEST_F(NamedPipe, GetsEachResultOnceAndNoEndBetweenThem)
{
    openReader();
    {
        Output output{path};
        EXPECT_EQ("", whyNotWritable(output));
        EXPECT_EQ("", addResult(output, "first\n"));
        char block[6] = {};
        EXPECT_EQ(6, read(reader, block, sizeof block));
        EXPECT_EQ(-1, read(reader, block, sizeof block));
        EXPECT_EQ(EAGAIN, errno);
        EXPECT_EQ("", addResult(output, "second\n"));
    }
    EXPECT_EQ("second\n", readAll(reader));
}

TEST_F(NamedPipe, IsRefusedBeforeASearchWhereNobodyReadsIt)
{
    Output output{path};
    const std::string line = "cannot write " + path + ": No such device or address";
    EXPECT_EQ(line, whyNotWritable(output));
    EXPECT_EQ(line, addResult(output, "result"));
    expectLine(
        1, line,
        runNorvctl({"generate", "64", "--quiet", "--norv", FAKE_NORV, "--output", path}));
}

TEST_F(NamedPipe, GetsThePrimesOfARun)
{
    openReader();
    ASSERT_EQ(0, fcntl(reader, F_SETFL, 0));
    const Ending ending =
        runNorvctl({"generate", "64", "--count", "3", "--quiet", "--output", path});
    EXPECT_EQ(0, ending.exitCode) << ending.errors;
    const std::string primes = readAll(reader);
    EXPECT_EQ(3 * 17U, primes.size()) << primes;
    EXPECT_EQ(3, std::count(primes.begin(), primes.end(), '\n'));
}

TEST(StandardOutputAsADevice, GetsEachPrimeOnce)
{
    const Ending ending = runNorvctl(
        {"generate", "64", "--count", "3", "--quiet", "--output", "/dev/stdout"});
    EXPECT_EQ(0, ending.exitCode) << ending.errors;
    EXPECT_EQ(3 * 17U, ending.output.size()) << ending.output;
    EXPECT_EQ(3, std::count(ending.output.begin(), ending.output.end(), '\n'));
}

TEST(ClosedStandardOutput, IsRefusedBeforeASearch)
{
    // The stand-in would never end.
    const FakeNorv fake("hang");
    Streams streams;
    streams.output = Streams::Output::closed;
    expectLine(1, "cannot write standard output: Bad file descriptor",
               runNorvctl({"generate", "64", "--quiet", "--norv", FAKE_NORV}, streams));
}

TEST(ClosedStandardOutput, IsToldOfWhereThereIsHelpToWrite)
{
    Streams streams;
    streams.output = Streams::Output::closed;
    expectLine(1, "cannot write standard output: Bad file descriptor",
               runNorvctl({"--help"}, streams));
}

} // namespace
