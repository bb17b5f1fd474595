#include "platform/file.h"

#include "tests/platform/temporary_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace
{

bool append(const std::wstring& path, const char* text)
{
    std::FILE* file = openForAppending(path.c_str());
    if (!file)
        return false;
    std::fputs(text, file);
    return std::fclose(file) == 0;
}

bool append(const std::filesystem::path& path, const char* text)
{
    return append(path.wstring(), text);
}

TEST(OpenForAppending, CreatesAFileThatIsNotThere)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(append(folder / "new", "mark"));
    EXPECT_EQ("mark", contentOf(folder / "new"));
}

TEST(OpenForAppending, AddsToAFileThatIsThere)
{
    const TemporaryFolder folder;
    writeFile(folder / "old", "before ");
    EXPECT_TRUE(append(folder / "old", "after"));
    EXPECT_EQ("before after", contentOf(folder / "old"));
}

TEST(OpenForAppending, WritesBehindWhatOthersWroteMeanwhile)
{
    const TemporaryFolder folder;
    std::FILE* file = openForAppending((folder / "shared").wstring().c_str());
    ASSERT_NE(nullptr, file);
    EXPECT_TRUE(append(folder / "shared", "first "));
    std::fputs("second", file);
    std::fclose(file);
    EXPECT_EQ("first second", contentOf(folder / "shared"));
}

TEST(OpenForAppending, OpensTheFileOfANameBeyondAscii)
{
    const TemporaryFolder folder;
    // The path as wide text by hand: its conversion depends on the locale.
    const std::wstring wide = (folder / "").wstring() + L"Gr\u00F6\u00DFe-\u03C0-\u65E5";
    EXPECT_TRUE(append(wide, "mark"));
    EXPECT_EQ("mark", contentOf(folder / u8"Gr\u00F6\u00DFe-\u03C0-\u65E5"));
}

TEST(OpenForAppending, IsNullForAFolder)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder");
    EXPECT_FALSE(append(folder / "folder", ""));
}

TEST(OpenForAppending, IsNullBelowAFolderThatIsNotThere)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(append(folder / "missing" / "file", ""));
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

TEST(OpenForAppending, IsNullForAnEmptyPath)
{
    EXPECT_EQ(nullptr, openForAppending(L""));
}

} // namespace
