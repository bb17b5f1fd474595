// What the system shows of the program's file.
#include "tests/support/win32/version_info.h"

#include <gtest/gtest.h>

TEST(VersionInfo, NamesNorvctlAndItsVersion)
{
    const std::string version = NORV_VERSION;
    EXPECT_EQ(version, versionText(NORVCTL_PROGRAM, "FileVersion"));
    EXPECT_EQ(version, versionText(NORVCTL_PROGRAM, "ProductVersion"));
    EXPECT_EQ(0U, versionNumber(NORVCTL_PROGRAM).find(version + "."));
    EXPECT_EQ("norvctl.exe", versionText(NORVCTL_PROGRAM, "OriginalFilename"));
}
