// Paths that are bytes and no text.
#include "platform/file.h"

#include "platform/posix/utf8.h"
#include "tests/platform/temporary_folder.h"

#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

TEST(OpenForAppending, OpensTheFileOfANameThatIsNotText)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "a\xFF\xC3(\x80z").string();
    std::FILE* file = openForAppending(decodeUtf8(path).c_str());
    ASSERT_NE(nullptr, file);
    std::fputs("mark", file);
    std::fclose(file);
    EXPECT_EQ("mark", contentOf(path));
}

TEST(OpenForAppending, KeepsTheFileFromProgramsThatThisOneStarts)
{
    const TemporaryFolder folder;
    std::FILE* file = openForAppending((folder / "progress").wstring().c_str());
    ASSERT_NE(nullptr, file);
    EXPECT_NE(0, fcntl(fileno(file), F_GETFD) & FD_CLOEXEC);
    std::fclose(file);
}

TEST(OpenForAppending, IsNullForAPipeThatNobodyReads)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    EXPECT_EQ(nullptr, openForAppending(decodeUtf8(path).c_str()));
}

TEST(OpenForAppending, WritesToAPipeUntilItIsFull)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_NE(-1, reader);
    std::FILE* file = openForAppending(decodeUtf8(path).c_str());
    ASSERT_NE(nullptr, file);
    EXPECT_LT(0, std::fputs("mark", file));
    EXPECT_EQ(0, std::fflush(file));
    char read4[4];
    EXPECT_EQ(4, read(reader, read4, sizeof read4));
    EXPECT_EQ("mark", std::string(read4, sizeof read4));

    const std::string much(std::size_t{1} << 21, '.');
    std::fputs(much.c_str(), file);
    EXPECT_NE(0, std::ferror(file));
    std::fclose(file);
    close(reader);
}

} // namespace
