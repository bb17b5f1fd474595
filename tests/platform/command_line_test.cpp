#include "platform/command_line.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

TEST(CommandLine, StartsWithTheProgramsOwnPath)
{
    const wchar_t* line = commandLine();
    ASSERT_NE(nullptr, line);
    const std::wstring program =
        std::wstring(line).substr(0, std::wstring(line).find(L" -"));
    EXPECT_NE(std::wstring::npos, program.find(L"platform_command_line_test"));
}

TEST(CommandLine, IsTheSameStringEachTime)
{
    EXPECT_EQ(commandLine(), commandLine());
}

} // namespace
