#include "tests/soak/group.h"

#include "tests/support/foreign_semaphore.h"

#include <algorithm>
#include <thread>

Group::Group(std::vector<Job> jobs, std::wstring name, bool disturbed)
    : name_(std::move(name))
    , disturbed_(disturbed)
{
    for (Job& job : jobs)
        members_.push_back({std::move(job), nullptr});
}

void Group::run(Random& random, Tally& tally)
{
    const auto end = std::chrono::steady_clock::now() + Process::timeLimit;
    while ((started_ < members_.size() || isRunning()) &&
           std::chrono::steady_clock::now() < end) {
        if (started_ < members_.size() && random.oneIn(2))
            start(members_[started_++]);
        else if (disturbed_ && random.oneIn(2))
            disturb(random);
        else
            stopSome(random);
        std::this_thread::sleep_for(std::chrono::microseconds(random.upTo(4000)));
    }
    countEnds(tally);
    if (foreignStands_ && !existsForeign(name_))
        tally.countName(name_, "foreign name removed");
    if (foreignStands_)
        removeForeign(name_);
}

void Group::start(Member& member)
{
    Arguments arguments = member.job.arguments;
    arguments.emplace_back("-stopSemaphoreName");
    arguments.emplace_back(name_.begin(), name_.end());
    member.process =
        std::make_unique<Process>(NORV_PROGRAM, arguments, member.job.streams);
}

// Posted whether or not all have started: a stop may come at any time.
void Group::stopSome(Random& random)
{
    postForeign(name_);
    if (!taken_.empty())
        sem_post(taken_[static_cast<std::size_t>(
                            random.upTo(static_cast<int>(taken_.size()) - 1))]
                     .get());
}

void Group::disturb(Random& random)
{
    switch (random.upTo(3)) {
    case 0:
        foreignStands_ = createForeign(name_, random.upTo(2)) || foreignStands_;
        return;
    case 1:
        if (TakenSemaphore taken = takeName(name_))
            taken_.push_back(std::move(taken));
        foreignStands_ = false;
        return;
    case 2:
        postForeign(name_);
        return;
    default:
        if (started_ == 0 || !random.oneIn(4))
            return;
        Member& member = members_[static_cast<std::size_t>(
            random.upTo(static_cast<int>(started_) - 1))];
        member.process->kill();
        member.killed = true;
    }
}

bool Group::isRunning() const
{
    return std::any_of(members_.begin(), members_.end(), [](const Member& member) {
        return member.process && member.process->isRunning();
    });
}

void Group::countEnds(Tally& tally)
{
    ++(disturbed_ ? tally.foreignGroups : tally.groups);
    for (Member& member : members_) {
        const bool hung = !member.process || member.process->isRunning();
        if (hung && member.process)
            member.process->kill();
        Ending ending = member.process ? member.process->wait() : Ending{};
        ending.inTime = !hung;
        ++tally.groupRuns;
        if (member.killed && !hung)
            continue;
        if (tally.count(member.job, ending, true) == Verdict::result)
            ++tally.groupResults;
    }
}
