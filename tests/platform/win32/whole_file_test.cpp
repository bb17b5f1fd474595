// Devices, files that cannot be replaced, links, and who may use a new file.
#include "platform/whole_file.h"

#include "tests/platform/temporary_folder.h"
#include "tests/support/comes_true.h"

#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <process.h>
#include <string>
#include <windows.h>
// After windows.h, whose types it uses.
#include <aclapi.h>

namespace
{

struct LocalRelease {
    void operator()(void* memory) const
    {
        LocalFree(memory);
    }
};

// The user of this process.
class User
{
public:
    User()
    {
        HANDLE token = nullptr;
        EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
        DWORD size = sizeof answer_;
        EXPECT_TRUE(GetTokenInformation(token, TokenUser, &answer_, size, &size));
        CloseHandle(token);
    }
    PSID sid()
    {
        return answer_.user.User.Sid;
    }

private:
    struct {
        TOKEN_USER user;
        std::array<BYTE, SECURITY_MAX_SID_SIZE> room;
    } answer_{};
};

// Expects that the user may do everything with a file, and that the access list names
// nobody else. Wine adds the system.
void expectAccessOf(User& user, PACL list)
{
    constexpr DWORD everything = FILE_ALL_ACCESS;
    bool named = false;
    for (DWORD i = 0; i < list->AceCount; ++i) {
        void* entry = nullptr;
        ASSERT_TRUE(GetAce(list, i, &entry));
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        ASSERT_EQ(ACCESS_ALLOWED_ACE_TYPE, allowed->Header.AceType);
        PSID const sid = &allowed->SidStart;
        if (EqualSid(user.sid(), sid)) {
            named = true;
            EXPECT_EQ(everything, allowed->Mask);
        } else {
            EXPECT_TRUE(IsWellKnownSid(sid, WinLocalSystemSid));
        }
    }
    EXPECT_TRUE(named);
}

// Makes the symbolic link "link" to "file". Returns false where the user may not.
bool makeLink(const TemporaryFolder& folder)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    const bool made = CreateSymbolicLinkW(L"link", L"file",
                                          SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE);
    // Wine 8 reports success and makes nothing. It starts programs of Linux, but does not
    // wait for them.
    if (made && !std::filesystem::exists("link"))
        _spawnl(_P_WAIT, R"(Z:\bin\ln)", "ln", "-s", "file", "link", nullptr);
    std::filesystem::current_path(before);
    return made;
}

// Wine 8 cannot remove a link, only what it leads to, and could not empty the folder. But
// it moves a file onto a link.
void removeLink(const TemporaryFolder& folder)
{
    writeFile(folder / "other", "");
    std::filesystem::rename(folder / "other", folder / "link");
}

TEST(WriteWhole, ReplacesTheFileThatALinkLeadsTo)
{
    const TemporaryFolder folder;
    const std::string link = (folder / "link").string();
    writeFile(folder / "file", "old");
    if (!makeLink(folder))
        GTEST_SKIP() << "this user may not make symbolic links";
    EXPECT_TRUE(comesTrue([&link] { return contentOf(link) == "old"; }));
    EXPECT_FALSE(tryToWrite(link));
    EXPECT_FALSE(writeWhole(link, "new"));
    EXPECT_EQ("new", contentOf(folder / "file"));
    writeFile(folder / "file", "newer");
    EXPECT_EQ("newer", contentOf(link));
    removeLink(folder);
}

TEST(TryToWrite, RefusesAFileThatIsReadOnly)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "file";
    writeFile(path, "content");
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    const std::error_code error = tryToWrite(path.string());
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(std::errc::permission_denied, error);
    EXPECT_FALSE(tryToWrite(path.string()));
    EXPECT_EQ("content", contentOf(path));
}

// The parameter is what a program that has the file open shares.
class OpenFile : public testing::TestWithParam<DWORD>
{
};

TEST_P(OpenFile, IsNotReplacedAndThatIsSaidBefore)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "file";
    writeFile(path, "content");
    HANDLE const opened = CreateFileW(path.c_str(), GENERIC_READ, GetParam(), nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, opened);
    EXPECT_EQ(std::errc::device_or_resource_busy, tryToWrite(path.string()));
    EXPECT_TRUE(writeWhole(path.string(), "new"));
    CloseHandle(opened);
    EXPECT_EQ("content", contentOf(path));
    EXPECT_FALSE(tryToWrite(path.string()));
}

INSTANTIATE_TEST_SUITE_P(WholeFile, OpenFile,
                         testing::Values(0, FILE_SHARE_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE |
                                             FILE_SHARE_DELETE));

TEST(WriteWhole, ReplacesNoDevice)
{
    EXPECT_EQ(std::errc::not_supported, writeWhole("NUL", "content"));
    EXPECT_EQ(std::errc::not_supported, tryToWrite("NUL"));
}

TEST(OpenDevice, OpensWhatIsNoFile)
{
    OpenDevice device;
    EXPECT_FALSE(openDevice("NUL", device));
    ASSERT_TRUE(device);
    EXPECT_FALSE(writeDevice(*device, "content"));
}

TEST(TryStandardOutput, SaysThatThereIsNone)
{
    HANDLE const before = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
    const std::error_code error = tryStandardOutput();
    SetStdHandle(STD_OUTPUT_HANDLE, before);
    EXPECT_TRUE(error);
}

TEST(WriteWhole, LetsNobodyUseTheFileButItsOwner)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(writeWhole((folder / "file").string(), "content"));
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error =
        GetNamedSecurityInfoW((folder / "file").c_str(), SE_FILE_OBJECT,
                              OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                              &owner, nullptr, &list, nullptr, &descriptor);
    ASSERT_EQ(0u, error);
    const std::unique_ptr<void, LocalRelease> ownedDescriptor(descriptor);
    User user;
    EXPECT_TRUE(EqualSid(user.sid(), owner));
    ASSERT_TRUE(list);
    expectAccessOf(user, list);
}

} // namespace
