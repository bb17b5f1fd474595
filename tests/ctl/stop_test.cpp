#include "tests/ctl/norvctl.h"
#include "tests/support/comes_true.h"
#include "tests/support/foreign_semaphore.h"

namespace
{

TEST(Stop, EndsARunOfNorv)
{
    const std::wstring name = uniqueSemaphoreName();
    const std::string narrow(name.begin(), name.end());
    Process norv(NORV_PROGRAM,
                 {"-noPrompt", "-threads", "1", "-safe", "-stopSemaphoreName", narrow,
                  "-base", std::string(1024, 'F')});
    ASSERT_TRUE(comesTrue([&] { return existsForeign(name); }));
    const Ending stop = runNorvctl({"stop", narrow});
    EXPECT_EQ(0, stop.exitCode);
    EXPECT_EQ("", stop.output + stop.errors);
    const Ending ending = norv.wait();
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ("", ending.output);
    EXPECT_FALSE(existsForeign(name));
}

TEST(Stop, ReleasesOnce)
{
    const std::wstring name = uniqueSemaphoreName(L"once");
    ASSERT_TRUE(createForeign(name, 0));
    EXPECT_EQ(0, runNorvctl({"stop", std::string(name.begin(), name.end())}).exitCode);
    EXPECT_EQ(1, countForeign(name));
    removeForeign(name);
}

TEST(Stop, SaysThatThereIsNoSuchSemaphore)
{
    expectLine(1, "there is no semaphore 'norvctl_test_none': no run of norv has it open",
               runNorvctl({"stop", "norvctl_test_none"}));
    expectLine(1, "there is no semaphore 'a/b': no run of norv has it open",
               runNorvctl({"stop", "a/b"}));
    // Words of any language.
    expectLine(1, "there is no semaphore '\u00e4 \u20ac': no run of norv has it open",
               runNorvctl({"stop", "\u00e4 \u20ac"}));
}

} // namespace
