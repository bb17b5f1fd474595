// Runs that share one semaphore name, started, stopped and disturbed in any order.
#pragma once

#include "tests/soak/job.h"
#include "tests/soak/taken_semaphore.h"
#include "tests/soak/tally.h"

#include <memory>
#include <string>
#include <vector>

class Group
{
public:
    // `disturbed`: a foreign program makes, posts and takes away the name meanwhile,
    // and some of the runs are killed.
    Group(std::vector<Job> jobs, std::wstring name, bool disturbed);

    // Runs it until all have ended, and counts how. The name may stand afterwards only
    // where the foreign program made it last, or where a killed run left it.
    void run(Random& random, Tally& tally);

private:
    struct Member {
        Job job;
        std::unique_ptr<Process> process;
        bool killed = false;
    };

    void start(Member& member);
    void stopSome(Random& random);
    void disturb(Random& random);
    bool isRunning() const;
    void countEnds(Tally& tally);

    std::vector<Member> members_;
    std::size_t started_ = 0;
    std::wstring name_;
    bool disturbed_;
    bool foreignStands_ = false;
    std::vector<TakenSemaphore> taken_;
};
