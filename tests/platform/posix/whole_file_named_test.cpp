// Files on a system that knows no files without a name: the linker replaces the calls.
#include "platform/whole_file.h"

#include "tests/faults/wrap.h"
#include "tests/platform/temporary_folder.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace
{

enum class Refused { open, link, rename };
Refused refused = Refused::open;

std::size_t filesIn(const TemporaryFolder& folder)
{
    const std::filesystem::directory_iterator files(folder / "");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

} // namespace

extern "C" {

DECLARE(open, int, (const char* path, int flags, ...))
DECLARE(linkat, int,
        (int oldFolder, const char* oldPath, int newFolder, const char* newPath,
         int flags))
DECLARE(rename, int, (const char* oldPath, const char* newPath))

int wrapped_open(const char* path, int flags, ...)
{
    if (refused == Refused::open && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return real_open(path, flags, mode);
}

int wrapped_linkat(int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                   int flags)
{
    if (refused == Refused::link) {
        errno = ENOENT;
        return -1;
    }
    return real_linkat(oldFolder, oldPath, newFolder, newPath, flags);
}

int wrapped_rename(const char* oldPath, const char* newPath)
{
    if (refused == Refused::rename) {
        errno = EIO;
        return -1;
    }
    return real_rename(oldPath, newPath);
}

} // extern "C"

namespace
{

class WriteWholeNamed : public testing::TestWithParam<Refused>
{
};

TEST_P(WriteWholeNamed, MakesAndReplacesAFile)
{
    refused = GetParam();
    const TemporaryFolder folder;
    const std::string path = (folder / "file").string();
    EXPECT_FALSE(tryToWrite(path));
    EXPECT_EQ(0u, filesIn(folder));
    EXPECT_FALSE(writeWhole(path, "content"));
    EXPECT_EQ("content", contentOf(path));
    EXPECT_FALSE(writeWhole(path, "new"));
    EXPECT_EQ("new", contentOf(path));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST_P(WriteWholeNamed, SaysWhyNoFileCanBeMade)
{
    refused = GetParam();
    const TemporaryFolder folder;
    EXPECT_EQ(std::errc::no_such_file_or_directory,
              writeWhole((folder / "missing" / "file").string(), "content"));
}

INSTANTIATE_TEST_SUITE_P(, WriteWholeNamed, testing::Values(Refused::open, Refused::link),
                         [](const auto& test) {
                             return test.param == Refused::open ? "Open" : "Link";
                         });

TEST(WriteWhole, LeavesNothingAsideWhereTheNameIsRefused)
{
    refused = Refused::rename;
    const TemporaryFolder folder;
    writeFile(folder / "file", "old");
    EXPECT_EQ(std::errc::io_error, writeWhole((folder / "file").string(), "new"));
    EXPECT_EQ("old", contentOf(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

} // namespace
