// Paths that are bytes and no text.
#include "platform/file.h"

#include "platform/posix/utf8.h"
#include "tests/platform/temporary_folder.h"

#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>

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

} // namespace
