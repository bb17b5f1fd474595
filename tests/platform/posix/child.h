// A process made by fork, for tests whose program runs no other thread then.
#pragma once

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// One process lets others pass: a pipe, which holds what nobody waits for yet.
class Gate
{
public:
    Gate()
    {
        if (pipe(ends_) != 0)
            _exit(99);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    ~Gate()
    {
        close(ends_[0]);
        close(ends_[1]);
    }

    // Lets one process pass, now or when it comes.
    void open() const
    {
        const char byte = 0;
        if (write(ends_[1], &byte, 1) != 1)
            _exit(98);
    }

    void pass() const
    {
        char byte = 0;
        if (read(ends_[0], &byte, 1) != 1)
            _exit(97);
    }

private:
    int ends_[2];
};

// Runs `body` in a process of its own, which ends with what it returns, without
// any of this process's clean-up; by a signal when an exception leaves it.
class Child
{
public:
    explicit Child(const std::function<int()>& body)
        : id_(fork())
    {
        const auto run = [&body]() noexcept {
            return body();
        };
        if (id_ == 0)
            _exit(run());
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        if (id_ > 0)
            killAndWait();
    }

    pid_t id() const
    {
        return id_;
    }

    // Waits for its end. Its exit code, or -1 when a signal ended it.
    int wait()
    {
        const int status = waitForEnd();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Ends it where it stands, with no chance to clean up.
    void killAndWait()
    {
        kill(id_, SIGKILL);
        waitForEnd();
    }

private:
    int waitForEnd()
    {
        int status = -1;
        waitpid(id_, &status, 0);
        id_ = -1;
        return status;
    }

    pid_t id_;
};
