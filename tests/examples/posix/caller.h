// A program that has started norv, or norvctl and so norv, and is ended.
#pragma once

#include "tests/support/comes_true.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/posix/searchers.h"
#include "tests/support/process.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// Starts the program as a shell starts a job: at the head of a process group of its own.
class Caller
{
public:
    Caller(const std::vector<std::string>& command, const std::string& input)
        : process_("/usr/bin/setsid", command, {Streams::Input::text, input})
    {
    }
    // A killed norv leaves the name of its semaphore.
    ~Caller()
    {
        for (const Searcher& searcher : searchers_)
            removeForeign(searcher.semaphore);
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    // Until norv searches: it has its semaphore.
    bool searches()
    {
        return comesTrue([this] {
            searchers_ = searchersOf(process_.id());
            return !searchers_.empty() && existsForeign(semaphore());
        });
    }

    const std::wstring& semaphore() const
    {
        return searchers_.at(0).semaphore;
    }

    void send(int signal) const
    {
        EXPECT_EQ(0, kill(process_.id(), signal));
    }

    // As Ctrl-C does: to all processes of the group.
    void interrupt() const
    {
        EXPECT_EQ(0, kill(-process_.id(), SIGINT));
    }

    Ending wait()
    {
        return process_.wait();
    }

    bool norvRuns() const
    {
        return isAlive(searchers_.at(0).process);
    }

private:
    Process process_;
    std::vector<Searcher> searchers_;
};
