// Rights, links, devices and pipes.
#include "platform/whole_file.h"

#include "tests/platform/temporary_folder.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

mode_t rightsOf(const std::filesystem::path& path)
{
    struct stat status {
    };
    EXPECT_EQ(0, stat(path.c_str(), &status));
    return status.st_mode & 07777;
}

std::size_t filesIn(const TemporaryFolder& folder)
{
    const std::filesystem::directory_iterator files(folder / "");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST(WriteWhole, GivesRightsToTheOwnerAloneWhateverTheMask)
{
    const TemporaryFolder folder;
    for (const mode_t mask : {0000u, 0022u, 0777u}) {
        const std::string path = (folder / std::to_string(mask)).string();
        const mode_t before = umask(mask);
        const std::error_code error = writeWhole(path, "content");
        umask(before);
        EXPECT_FALSE(error);
        EXPECT_EQ(0600u, rightsOf(path));
    }
}

TEST(WriteWhole, TakesTheRightsOfOthersAway)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", "old");
    chmod((folder / "file").c_str(), 0644);
    EXPECT_FALSE(writeWhole((folder / "file").string(), "new"));
    EXPECT_EQ(0600u, rightsOf(folder / "file"));
}

TEST(WriteWhole, ReplacesTheFileThatALinkLeadsTo)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "other");
    writeFile(folder / "other" / "file", "old");
    std::filesystem::create_symlink("other/file", folder / "link");
    EXPECT_FALSE(writeWhole((folder / "link").string(), "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_EQ("new", contentOf(folder / "other" / "file"));
}

TEST(WriteWhole, KeepsANameThatIsNotText)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "a\xFF\xC3(\x80z").string();
    EXPECT_FALSE(writeWhole(path, "content"));
    EXPECT_EQ("content", contentOf(path));
}

TEST(WriteWhole, ReplacesNoDevice)
{
    EXPECT_EQ(std::errc::not_supported, writeWhole("/dev/null", "content"));
    EXPECT_EQ(std::errc::not_supported, tryToWrite("/dev/null"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(OpenDevice, OpensWhatIsNoFile)
{
    OpenDevice device;
    EXPECT_FALSE(openDevice("/dev/null", device));
    ASSERT_TRUE(device);
    EXPECT_FALSE(writeDevice(*device, "content"));
    EXPECT_FALSE(openDevice("/dev/full", device));
    ASSERT_TRUE(device);
    EXPECT_EQ(std::errc::no_space_on_device, writeDevice(*device, "content"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST(WriteDevice, WaitsForTheReaderOfAPipe)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    OpenDevice device;
    EXPECT_EQ(std::errc::no_such_device_or_address, openDevice(path, device));
    EXPECT_FALSE(device);

    // More than a pipe holds.
    const std::string content(1 << 20, 'x');
    const int end = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_NE(-1, end);
    ASSERT_FALSE(openDevice(path, device));
    ASSERT_TRUE(device);
    std::error_code error;
    std::thread writer([&] { error = writeDevice(*device, content); });
    std::string received;
    std::string piece(65536, '\0');
    while (received.size() < content.size()) {
        const ssize_t count = read(end, piece.data(), piece.size());
        if (count > 0)
            received.append(piece, 0, static_cast<std::size_t>(count));
    }
    writer.join();
    close(end);
    EXPECT_FALSE(error);
    EXPECT_EQ(content, received);
}

TEST(WriteWhole, KeepsTheOldFileWhereTheNewOneDoesNotFit)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", "old");
    // A limit of this process stands for a full disk.
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{1000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const std::error_code replaced =
        writeWhole((folder / "file").string(), std::string(2000, 'x'));
    const std::error_code made =
        writeWhole((folder / "new").string(), std::string(2000, 'x'));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(std::errc::file_too_large, replaced);
    EXPECT_EQ(std::errc::file_too_large, made);
    EXPECT_EQ("old", contentOf(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST(WriteWhole, FailsWhereNoFileCanBeMade)
{
    EXPECT_TRUE(writeWhole("/proc/norv-test", "content"));
    EXPECT_TRUE(tryToWrite("/proc/norv-test"));
}

TEST(TryToWrite, SaysThatAnotherUsersFileCannotBeReplaced)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make the files of several users";
    constexpr uid_t nobody = 65534;
    constexpr uid_t another = 65533;
    const TemporaryFolder folder;
    const std::string foreign = (folder / "foreign").string();
    const std::string own = (folder / "own").string();
    writeFile(foreign, "content");
    writeFile(own, "content");
    ASSERT_EQ(0, chown(foreign.c_str(), another, another));
    ASSERT_EQ(0, chown(own.c_str(), nobody, nobody));
    ASSERT_EQ(0, chmod((folder / "").c_str(), 01777));
    ASSERT_EQ(0, seteuid(nobody));
    const std::error_code foreignTried = tryToWrite(foreign);
    const std::error_code foreignWritten = writeWhole(foreign, "new");
    const std::error_code ownTried = tryToWrite(own);
    const std::error_code ownWritten = writeWhole(own, "new");
    ASSERT_EQ(0, seteuid(0));
    EXPECT_EQ(std::errc::operation_not_permitted, foreignTried);
    EXPECT_EQ(std::errc::operation_not_permitted, foreignWritten);
    EXPECT_FALSE(ownTried);
    EXPECT_FALSE(ownWritten);
    EXPECT_EQ("new", contentOf(own));
    EXPECT_EQ("content", contentOf(foreign));
    EXPECT_FALSE(tryToWrite(foreign));
}

TEST(ReadWhole, ReadsStandardInputToItsEnd)
{
    const TemporaryFolder folder;
    const std::string bytes(200'000, 'x');
    writeFile(folder / "file", bytes);
    const int before = dup(STDIN_FILENO);
    const int file = open((folder / "file").c_str(), O_RDONLY | O_CLOEXEC);
    dup2(file, STDIN_FILENO);
    std::string content;
    const std::error_code error = readWhole("", bytes.size(), content);
    dup2(before, STDIN_FILENO);
    close(before);
    close(file);
    EXPECT_FALSE(error);
    EXPECT_EQ(bytes, content);
}

TEST(ReadWhole, WaitsForAStreamThatWasSetNotToWait)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    const int before = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    std::thread writer([&] {
        EXPECT_EQ(7, write(ends[1], "content", 7));
        close(ends[1]);
    });
    std::string content;
    const std::error_code error = readWhole("", 7, content);
    writer.join();
    dup2(before, STDIN_FILENO);
    close(before);
    close(ends[0]);
    EXPECT_FALSE(error);
    EXPECT_EQ("content", content);
}

TEST(WriteStandardOutput, SaysThatNobodyReads)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    close(ends[0]);
    const int before = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    const std::error_code error = writeStandardOutput("content");
    dup2(before, STDOUT_FILENO);
    close(before);
    close(ends[1]);
    EXPECT_EQ(std::errc::broken_pipe, error);
}

// Standard output is what `descriptor` is, as long as the call takes.
std::error_code tryAsOutput(int descriptor)
{
    const int before = dup(STDOUT_FILENO);
    if (descriptor == -1)
        close(STDOUT_FILENO);
    else
        dup2(descriptor, STDOUT_FILENO);
    const std::error_code error = tryStandardOutput();
    dup2(before, STDOUT_FILENO);
    close(before);
    return error;
}

TEST(TryStandardOutput, SaysThatItCannotBeWritten)
{
    const int forReading = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(std::errc::bad_file_descriptor, tryAsOutput(-1));
    EXPECT_EQ(std::errc::bad_file_descriptor, tryAsOutput(forReading));
    close(forReading);
}

TEST(TryStandardOutput, WritesNothing)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    EXPECT_FALSE(tryAsOutput(ends[1]));
    char byte = 0;
    EXPECT_EQ(-1, read(ends[0], &byte, 1));
    EXPECT_EQ(EAGAIN, errno);
    close(ends[0]);
    close(ends[1]);
}

// Writes a file again and again, with one of two contents, and tells each time.
[[noreturn]] void writeForEver(const std::string& path, int told)
{
    const std::string contents[] = {std::string(50'000, 'a'), std::string(70'000, 'b')};
    for (std::size_t i = 0;; ++i) {
        if (writeWhole(path, contents[i % 2]) || write(told, "x", 1) != 1)
            _exit(1);
    }
}

TEST(WriteWhole, LeavesAWholeFileWhereItIsKilled)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "file").string();
    for (int kills = 0; kills < 50; ++kills) {
        int ends[2] = {-1, -1};
        ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
        const pid_t child = fork();
        if (child == 0)
            writeForEver(path, ends[1]);
        close(ends[1]);
        char mark = 0;
        for (int writes = 0; writes <= kills % 5; ++writes)
            ASSERT_EQ(1, read(ends[0], &mark, 1));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(ends[0]);

        const std::string content = contentOf(path);
        EXPECT_TRUE(content == std::string(50'000, 'a') ||
                    content == std::string(70'000, 'b'));
    }
    // What stays aside is whole.
    for (const auto& file : std::filesystem::directory_iterator(folder / "")) {
        const auto size = file.file_size();
        EXPECT_TRUE(size == 50'000 || size == 70'000) << file.path();
    }
}

} // namespace
