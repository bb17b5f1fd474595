// Devices, and who may use a new file.
#include "platform/whole_file.h"

#include "tests/platform/temporary_folder.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>
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
