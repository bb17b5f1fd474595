#include "platform/dependent.h"

#include "tests/support/comes_true.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/posix/other_processes.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

namespace
{

class Dependent : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_TRUE(comesTrue([this] { return !existsForeign(semaphore); }));
        removeForeign(semaphore);
    }

    Process startOf(const std::string& program, std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {"start", program});
        return Process(DEPENDENT_HELPER, arguments);
    }

    // A starter of a dependent that makes its semaphore and waits for it.
    Process startHolder() const
    {
        return startOf(DEPENDENT_HELPER,
                       {"hold", std::string(semaphore.begin(), semaphore.end())});
    }

    bool semaphoreAppears() const
    {
        return comesTrue([this] { return existsForeign(semaphore); });
    }

    // The one child of the starter that is a holder; the other one watches.
    static int dependentOf(const Process& starter)
    {
        for (const int child : childrenOf(starter.id()))
            if (const auto arguments = argumentsOf(child);
                arguments.size() > 1 && arguments[1] == "hold")
                return child;
        return -1;
    }

    const std::wstring semaphore = uniqueSemaphoreName();
};

TEST_F(Dependent, EndsWithItsStarterAndLeavesNoSemaphore)
{
    Process starter = startHolder();
    ASSERT_TRUE(semaphoreAppears());
    const std::vector<int> children = childrenOf(starter.id());
    ASSERT_EQ(2U, children.size());
    starter.kill();
    starter.wait();
    for (const int child : children)
        EXPECT_TRUE(comesTrue([child] { return !isAlive(child); }));
}

TEST_F(Dependent, IsLeftAloneByWhatEndsItsStarterFromOutside)
{
    Process starter = startHolder();
    ASSERT_TRUE(semaphoreAppears());
    const int dependent = dependentOf(starter);
    ASSERT_LT(0, dependent);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        EXPECT_EQ(0, kill(dependent, number));
    EXPECT_TRUE(postForeign(semaphore));
    EXPECT_EQ(7, starter.wait().exitCode);
}

TEST_F(Dependent, ThatWasKilledLeavesItsSemaphoreToTheWatcher)
{
    Process starter = startHolder();
    ASSERT_TRUE(semaphoreAppears());
    const int dependent = dependentOf(starter);
    ASSERT_LT(0, dependent);
    EXPECT_EQ(0, kill(dependent, SIGKILL));
    EXPECT_EQ(3, starter.wait().exitCode);
    EXPECT_FALSE(existsForeign(semaphore));
}

TEST_F(Dependent, ThatCannotBeStartedEndsWithItsOwnCode)
{
    EXPECT_EQ(cannotStart, startOf("/nonexistent/program", {"name"}).wait().exitCode);
}

TEST_F(Dependent, OfAStarterThatHasEndedIsNotStarted)
{
    // This process is the parent; number 1 is not.
    std::vector<std::string> command = dependentCommand("/bin/true", {});
    ASSERT_LT(2U, command.size());
    ASSERT_EQ(std::to_string(getpid()), command[2]);
    command[2] = "1";
    command.erase(command.begin());
    EXPECT_EQ(cannotStart, Process(DEPENDENT_HELPER, command).wait().exitCode);
    command[1] = std::to_string(getpid());
    EXPECT_EQ(0, Process(DEPENDENT_HELPER, command).wait().exitCode);
}

TEST_F(Dependent, ThatWasKilledCanHaveItsSemaphoreRemoved)
{
    // A semaphore that nobody holds any more goes, and one that is held stays.
    const std::string name(semaphore.begin(), semaphore.end());
    Process killed(DEPENDENT_HELPER, {"hold", name});
    ASSERT_TRUE(semaphoreAppears());
    forgetSemaphore(name, true); // which is not true
    EXPECT_TRUE(existsForeign(semaphore));
    killed.kill();
    killed.wait();
    forgetSemaphore(name, false);
    EXPECT_TRUE(existsForeign(semaphore));
    forgetSemaphore(name, true);
    EXPECT_FALSE(existsForeign(semaphore));
}

} // namespace
