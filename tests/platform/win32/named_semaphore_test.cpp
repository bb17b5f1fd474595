// What the system's own semaphores bring with them: names, rights and lifetime.
#include "platform/named_semaphore.h"

#include "tests/support/foreign_semaphore.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <windows.h>

namespace
{

struct Close {
    void operator()(SemaphoreHandle semaphore) const
    {
        closeSemaphore(semaphore);
    }
};
using Owned = std::unique_ptr<SemaphoreObject, Close>;

Owned create(const std::wstring& name, int count = 0, int maximum = 1)
{
    return Owned(createNamedSemaphore(name.c_str(), count, maximum));
}

Owned open(const std::wstring& name)
{
    return Owned(openNamedSemaphore(name.c_str()));
}

class Win32NamedSemaphore : public testing::Test
{
protected:
    const std::wstring name = uniqueSemaphoreName(L"win32");
};

TEST_F(Win32NamedSemaphore, OfTheSessionIsTheOneWithoutAPrefix)
{
    const Owned semaphore = create(L"Local\\" + name, 1);
    ASSERT_NE(nullptr, semaphore);
    EXPECT_EQ(1, countForeign(name));
    EXPECT_NE(nullptr, open(name));
}

TEST_F(Win32NamedSemaphore, CanBeOneForAllSessions)
{
    const Owned semaphore = create(L"Global\\" + name);
    ASSERT_NE(nullptr, semaphore);
    EXPECT_TRUE(existsForeign(L"Global\\" + name));
    const Owned opened = open(L"Global\\" + name);
    ASSERT_NE(nullptr, opened);
    EXPECT_TRUE(releaseSemaphore(opened.get()));
    EXPECT_TRUE(waitForSemaphore(semaphore.get()));
}

TEST_F(Win32NamedSemaphore, CanHaveANameWithASlash)
{
    const Owned semaphore = create(name + L"/part");
    EXPECT_NE(nullptr, semaphore);
    EXPECT_TRUE(existsForeign(name + L"/part"));
}

TEST_F(Win32NamedSemaphore, CannotHaveANameWithABackslash)
{
    EXPECT_EQ(nullptr, create(name + L"\\part"));
    EXPECT_EQ(nullptr, open(name + L"\\part"));
}

TEST_F(Win32NamedSemaphore, WithoutANameIsNobodyElses)
{
    const Owned first = create({});
    const Owned second = create({});
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, second);
    EXPECT_TRUE(releaseSemaphore(first.get()));
    EXPECT_FALSE(releaseSemaphore(first.get()));
    EXPECT_TRUE(releaseSemaphore(second.get()));
    EXPECT_EQ(nullptr, open({}));
}

TEST_F(Win32NamedSemaphore, IsNotMadeWhereAnotherObjectHasTheName)
{
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    ASSERT_NE(nullptr, event);
    EXPECT_EQ(nullptr, create(name));
    EXPECT_EQ(nullptr, open(name));
    CloseHandle(event);
}

TEST_F(Win32NamedSemaphore, IsOpenedForReleasesOnly)
{
    const Owned semaphore = create(name);
    const Owned opened = open(name);
    ASSERT_NE(nullptr, opened);
    EXPECT_TRUE(releaseSemaphore(opened.get()));
    EXPECT_FALSE(waitForSemaphore(opened.get()));
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(Win32NamedSemaphore, StaysWhileAForeignProgramHoldsIt)
{
    Owned semaphore = create(name, 1);
    HANDLE foreign = OpenSemaphoreW(SYNCHRONIZE, FALSE, name.c_str());
    ASSERT_NE(nullptr, foreign);
    semaphore.reset();
    EXPECT_EQ(1, countForeign(name));
    CloseHandle(foreign);
    EXPECT_FALSE(existsForeign(name));
}

} // namespace
