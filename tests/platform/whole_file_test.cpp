#include "platform/whole_file.h"

#include "tests/platform/temporary_folder.h"
#include "tests/support/standard_output.h"

#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace
{

// A path as the functions want it.
std::string pathOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::size_t filesIn(const TemporaryFolder& folder)
{
    const std::filesystem::directory_iterator files(folder / "");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

std::error_code read(const std::filesystem::path& path, std::size_t limit,
                     std::string& content)
{
    return readWhole(pathOf(path), limit, content);
}

std::error_code write(const std::filesystem::path& path, const std::string& content)
{
    return writeWhole(pathOf(path), content);
}

// All bytes, several times the size of one read.
std::string manyBytes()
{
    std::string bytes;
    for (int i = 0; i < 300'000; ++i)
        bytes += static_cast<char>(i % 256);
    return bytes;
}

TEST(ReadWhole, GivesEveryByte)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", manyBytes());
    std::string content = "before";
    EXPECT_FALSE(read(folder / "file", 300'000, content));
    EXPECT_EQ(manyBytes(), content);
}

TEST(ReadWhole, GivesNothingOfAnEmptyFile)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    std::string content = "before";
    EXPECT_FALSE(read(folder / "file", 0, content));
    EXPECT_EQ("", content);
}

TEST(ReadWhole, RefusesMoreThanTheLimit)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", "abcd");
    std::string content;
    EXPECT_EQ(std::errc::file_too_large, read(folder / "file", 3, content));
    EXPECT_FALSE(read(folder / "file", 4, content));
    EXPECT_EQ("abcd", content);
}

TEST(ReadWhole, SaysThatThereIsNoFile)
{
    const TemporaryFolder folder;
    std::string content;
    EXPECT_EQ(std::errc::no_such_file_or_directory, read(folder / "file", 1, content));
}

TEST(ReadWhole, FailsForAFolder)
{
    const TemporaryFolder folder;
    std::string content;
    EXPECT_TRUE(read(folder / "", 1, content));
}

TEST(WriteWhole, MakesAFile)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(write(folder / "file", manyBytes()));
    EXPECT_EQ(manyBytes(), contentOf(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST(WriteWhole, ReplacesAFile)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", "a longer content");
    EXPECT_FALSE(write(folder / "file", "content"));
    EXPECT_EQ("content", contentOf(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST(WriteWhole, MakesAnEmptyFile)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(write(folder / "file", ""));
    EXPECT_TRUE(std::filesystem::exists(folder / "file"));
}

TEST(WriteWhole, TakesANameBeyondAscii)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(write(folder / u8"Gr\u00F6\u00DFe-\u03C0", "content"));
    EXPECT_EQ("content", contentOf(folder / u8"Gr\u00F6\u00DFe-\u03C0"));
}

TEST(WriteWhole, TakesANameWithoutAFolder)
{
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    EXPECT_FALSE(write("file", "content"));
    EXPECT_FALSE(write("file", "content"));
    std::filesystem::current_path(before);
    EXPECT_EQ("content", contentOf(folder / "file"));
}

TEST(WriteWhole, LeavesNothingWhereItFails)
{
    const TemporaryFolder folder;
    EXPECT_EQ(std::errc::no_such_file_or_directory,
              write(folder / "missing" / "file", "content"));
    EXPECT_EQ(std::errc::is_a_directory, write(folder / "", "content"));
    EXPECT_EQ(0u, filesIn(folder));
}

TEST(WriteWhole, LeavesAFolderOfTheNameAlone)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "file");
    EXPECT_EQ(std::errc::is_a_directory, write(folder / "file", "content"));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST(TryToWrite, ChangesNothing)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(tryToWrite(pathOf(folder / "file")));
    EXPECT_EQ(0u, filesIn(folder));
    writeFile(folder / "file", "content");
    EXPECT_FALSE(tryToWrite(pathOf(folder / "file")));
    EXPECT_EQ("content", contentOf(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST(TryToWrite, FailsAsAWriteWould)
{
    const TemporaryFolder folder;
    EXPECT_EQ(std::errc::no_such_file_or_directory,
              tryToWrite(pathOf(folder / "missing" / "file")));
    EXPECT_EQ(std::errc::is_a_directory, tryToWrite(pathOf(folder / "")));
}

TEST(OpenDevice, OpensNoFile)
{
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    OpenDevice device;
    for (const char* name : {"file", "missing", ""}) {
        EXPECT_FALSE(openDevice(pathOf(folder / name), device));
        EXPECT_FALSE(device) << name;
    }
    EXPECT_EQ("content", contentOf(folder / "file"));
    EXPECT_EQ(1u, filesIn(folder));
}

TEST(TryStandardOutput, SucceedsWhereItIsOpen)
{
    testing::internal::CaptureStdout();
    const std::error_code error = tryStandardOutput();
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_FALSE(error);
}

TEST(WriteStandardOutput, WritesEveryByteAsItIs)
{
    std::error_code error;
    const std::string written =
        standardOutputOf([&error] { error = writeStandardOutput(manyBytes()); });
    EXPECT_FALSE(error);
    EXPECT_EQ(manyBytes(), written);
}

} // namespace
