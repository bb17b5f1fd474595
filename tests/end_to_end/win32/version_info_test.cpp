// What the system shows of the program's file.
#include "tests/support/win32/version_info.h"

#include <gtest/gtest.h>

TEST(VersionInfo, NamesTheProgramAndItsVersion)
{
    const std::string version = NORV_VERSION;
    EXPECT_EQ(version, versionText(NORV_PROGRAM, "FileVersion"));
    EXPECT_EQ(version, versionText(NORV_PROGRAM, "ProductVersion"));
    EXPECT_EQ(0U, versionNumber(NORV_PROGRAM).find(version + "."));
    EXPECT_EQ("norv.exe", versionText(NORV_PROGRAM, "OriginalFilename"));
    EXPECT_NE("", versionText(NORV_PROGRAM, "FileDescription"));
    EXPECT_EQ("", versionText(NORV_PROGRAM, "NoSuchName"));
}
