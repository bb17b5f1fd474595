#include "tests/soak/two_users.h"

#include "tests/platform/temporary_folder.h"
#include "tests/support/foreign_semaphore.h"

#include <memory>
#include <semaphore.h>
#include <thread>
#include <unistd.h>

namespace
{

using Owned = std::unique_ptr<Process>;

class TwoUsers
{
public:
    TwoUsers(std::wstring name, Random& random, Tally& tally)
        : name_(std::move(name))
        , random_(random)
        , tally_(tally)
        , program_((folder_ / "norv").string())
    {
        // The build may lie where nobody may not look.
        std::filesystem::copy_file(NORV_PROGRAM, program_);
        for (const std::filesystem::path& path : {folder_ / "", folder_ / "norv"})
            std::filesystem::permissions(path, std::filesystem::perms(0755));
    }

    // Nobody has no rights to root's semaphore, and so stops at once.
    void rootFirst()
    {
        const Job waiting = waitingJob();
        const Owned root = start(waiting, false);
        awaitName();
        const Job refused = waitingJob();
        tally_.count(refused, start(refused, true)->wait(), true);
        if (!root->isRunning())
            ++tally_.wrong;
        postForeign(name_);
        tally_.count(waiting, root->wait(), true);
    }

    // Root may use nobody's as it is: each stop ends one of them. When nobody's run is
    // the first, the name goes with it, and only who has the semaphore open reaches
    // root's.
    void nobodyFirst()
    {
        const Job waiting = waitingJob();
        const Owned nobody = start(waiting, true);
        awaitName();
        sem_t* opened =
            sem_open(("/" + std::string(name_.begin(), name_.end())).c_str(), 0);
        const Job sharing = waitingJob();
        const Owned root = start(sharing, false);
        const auto end = std::chrono::steady_clock::now() + Process::timeLimit;
        while ((nobody->isRunning() || root->isRunning()) &&
               std::chrono::steady_clock::now() < end) {
            if (opened != SEM_FAILED)
                sem_post(opened);
            postForeign(name_);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (opened != SEM_FAILED)
            sem_close(opened);
        tally_.count(waiting, endNow(*nobody), true);
        tally_.count(sharing, endNow(*root), true);
        if (existsForeign(name_))
            tally_.countName(name_, "left behind by two users");
    }

    // What nobody left behind is no obstacle to root, and gone after nobody's next run.
    // What root left behind stops nobody at once.
    void killedFirst(bool asNobody)
    {
        const Owned victim = start(waitingJob(), asNobody);
        awaitName();
        victim->kill();
        victim->wait();
        const Job next =
            asNobody ? searchingJob(random_, folder_ / "marks") : waitingJob();
        tally_.count(next, start(next, !asNobody)->wait(), !asNobody);
        if (!asNobody)
            return;
        const Job last = searchingJob(random_, folder_ / "nobodys_marks");
        tally_.count(last, start(last, true)->wait(), false);
        if (existsForeign(name_))
            tally_.countName(name_, "left behind by nobody");
    }

private:
    // Without workers: ends only when it is stopped.
    Job waitingJob()
    {
        for (;;) {
            Job job = endlessJob(random_);
            if (job.threads == 0)
                return job;
        }
    }

    Owned start(const Job& job, bool asNobody) const
    {
        Arguments arguments = job.arguments;
        arguments.emplace_back("-stopSemaphoreName");
        arguments.emplace_back(name_.begin(), name_.end());
        if (!asNobody)
            return std::make_unique<Process>(program_, arguments, job.streams);
        arguments.insert(arguments.begin(), {"--reuid=nobody", "--regid=nogroup",
                                             "--clear-groups", program_});
        return std::make_unique<Process>("/usr/bin/setpriv", arguments, job.streams);
    }

    // A run that has not come up is found out by what it ends with.
    void awaitName() const
    {
        const auto end = std::chrono::steady_clock::now() + Process::timeLimit;
        while (!existsForeign(name_) && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    static Ending endNow(Process& process)
    {
        const bool hung = process.isRunning();
        if (hung)
            process.kill();
        Ending ending = process.wait();
        ending.inTime = !hung;
        return ending;
    }

    const TemporaryFolder folder_;
    std::wstring name_;
    Random& random_;
    Tally& tally_;
    std::string program_;
};

} // namespace

bool runAsTwoUsers(const std::wstring& name, Random& random, Tally& tally)
{
    if (geteuid() != 0)
        return false;
    TwoUsers users(name, random, tally);
    users.rootFirst();
    users.nobodyFirst();
    users.killedFirst(true);
    users.killedFirst(false);
    return true;
}
