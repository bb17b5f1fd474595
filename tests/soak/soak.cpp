// Real runs for minutes: killed at any moment, sharing a name, stopped from outside,
// and disturbed by a foreign program; or many undisturbed ones in a row, then runs of
// more threads than one wait takes. For what happens once in a thousand runs.
//
//   norv_soak [SECONDS [SEED]]
//   norv_soak stress [SEARCHES [SEED]]
#include "tests/platform/posix/semaphore_locks.h"
#include "tests/platform/temporary_folder.h"
#include "tests/soak/group.h"
#include "tests/soak/job.h"
#include "tests/soak/tally.h"
#include "tests/soak/two_users.h"
#include "tests/support/foreign_semaphore.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int defaultSeconds = 300;
constexpr int killsInDefaultTime = 500;
constexpr int defaultSearches = 1000;

// A size that so many workers do not soon find a prime of. Beyond 1024 bits a thousand of
// them take seconds to begin their sieves.
int largeBits(int threads)
{
    return threads < 1000 ? 2048 : 1024;
}

class Soak
{
public:
    explicit Soak(unsigned seed)
        : random_(seed)
    {
    }

    // One scene of any kind. Whatever it did to its name, the next run that uses the
    // name must end with a result and leave no name.
    void scene()
    {
        const std::wstring name = freshName();
        switch (random_.upTo(9)) {
        case 0:
            group(name, false);
            break;
        case 1:
            group(name, true);
            break;
        default:
            kill(name);
            break;
        }
        search(name);
    }

    // A tiny job may well be done before its threads could not be waited for.
    void stress(long searches)
    {
        for (long i = 0; i < searches; ++i)
            search(freshName(), sureJob(random_));
        constexpr int largeRuns = 200;
        constexpr int tinyRuns = 100;
        for (const int threads : {64, 100, 1000})
            for (int i = 0; i < largeRuns + tinyRuns; ++i)
                crowd(unwaitedJob(threads, i < largeRuns ? largeBits(threads) : 16));
    }

    void twoUsers()
    {
        const std::wstring name = freshName();
        if (!runAsTwoUsers(name, random_, tally_))
            return;
        ++tally_.twoUsers;
        search(name);
    }

    // Names that killed runs left must be gone after any run a minute later.
    void checkNames()
    {
        for (const std::wstring& name : names_)
            if (existsForeign(name) && !makeOld(semaphoreFilePath(name)))
                ++tally_.wrong;
        search(freshName());
        for (const std::wstring& name : names_)
            if (existsForeign(name))
                tally_.countName(name, "left behind");
    }

    const Tally& tally() const
    {
        return tally_;
    }

private:
    std::wstring freshName()
    {
        names_.push_back(uniqueSemaphoreName(L"soak" + std::to_wstring(names_.size())));
        return names_.back();
    }

    std::filesystem::path freshFile()
    {
        return folder_ / ("marks" + std::to_string(++files_));
    }

    static Process start(const Job& job, const std::wstring& name)
    {
        Arguments arguments = job.arguments;
        arguments.emplace_back("-stopSemaphoreName");
        arguments.emplace_back(name.begin(), name.end());
        return Process(NORV_PROGRAM, arguments, job.streams);
    }

    // A run alone with its name, which must be gone afterwards.
    void search(const std::wstring& name)
    {
        search(name, searchingJob(random_, freshFile()));
    }

    void search(const std::wstring& name, const Job& job)
    {
        tally_.count(job, start(job, name).wait(), false);
        ++tally_.searches;
        tally_.safeSearches += job.safe ? 1 : 0;
        expectNoName(name);
    }

    void crowd(const Job& job)
    {
        const std::wstring name = freshName();
        ++tally_.unwaited;
        if (tally_.count(job, start(job, name).wait(), true) == Verdict::result)
            ++tally_.unwaitedResults;
        expectNoName(name);
    }

    void expectNoName(const std::wstring& name)
    {
        if (existsForeign(name)) {
            tally_.countName(name, "left behind");
            removeForeign(name);
        }
    }

    // A run killed at any moment of it, now and then with another one of that name.
    void kill(const std::wstring& name)
    {
        const bool endless = random_.oneIn(2);
        const Job job =
            endless ? endlessJob(random_) : searchingJob(random_, freshFile());
        Process victim = start(job, name);
        if (random_.oneIn(4)) {
            const Job other = searchingJob(random_, freshFile());
            Process companion = start(other, name);
            killSoon(victim);
            // Only a victim that found its prime may have stopped it.
            tally_.count(other, companion.wait(), !endless);
        } else {
            killSoon(victim);
        }
    }

    void killSoon(Process& victim)
    {
        std::this_thread::sleep_for(random_.moment());
        ++(victim.isRunning() ? tally_.killed : tally_.killedTooLate);
        victim.kill();
        victim.wait();
    }

    void group(const std::wstring& name, bool disturbed)
    {
        std::vector<Job> jobs;
        for (int left = 2 + random_.upTo(6); left > 0; --left)
            jobs.push_back(random_.oneIn(2) ? endlessJob(random_)
                                            : searchingJob(random_, freshFile()));
        Group(std::move(jobs), name, disturbed).run(random_, tally_);
        if (!disturbed && existsForeign(name))
            tally_.countName(name, "left behind");
    }

    Random random_;
    Tally tally_;
    std::vector<std::wstring> names_;
    int files_ = 0;
    const TemporaryFolder folder_;
};

void printSoak(const Tally& tally)
{
    std::cout << tally.killed << " runs killed (" << tally.killedTooLate
              << " more had ended)\n"
              << tally.searches << " runs of their own\n"
              << tally.groups << " groups under one name, " << tally.foreignGroups
              << " more with a foreign program: " << tally.groupRuns << " runs, "
              << tally.groupResults << " with a result\n"
              << tally.twoUsers << " rounds of two users\n"
              << tally.composites << " composites in " << tally.smallResults
              << " results of 24 to 120 bits\n";
}

void printStress(const Tally& tally)
{
    std::cout << tally.searches << " searches (" << tally.safeSearches
              << " for safe primes)\n"
              << tally.unwaited << " runs of too many threads (" << tally.unwaitedResults
              << " with a result)\n";
}

void printFaults(const Tally& tally, long seconds)
{
    std::cout << tally.hangs << " hangs, " << tally.wrong << " wrong results, "
              << tally.leftovers << " wrong names, " << seconds << " seconds"
              << std::endl;
}

// The number at `index` of the arguments, or `otherwise` where there is none.
long numberAt(int index, int argc, char** argv, long otherwise)
{
    return argc > index ? std::strtol(argv[index], nullptr, 10) : otherwise;
}

} // namespace

int main(int argc, char** argv)
{
    const bool stress = argc > 1 && std::string_view(argv[1]) == "stress";
    const int first = stress ? 2 : 1;
    const long amount =
        numberAt(first, argc, argv, stress ? defaultSearches : defaultSeconds);
    const auto seed =
        static_cast<unsigned>(numberAt(first + 1, argc, argv, std::random_device()()));
    std::cout << "seed " << seed << std::endl;

    const auto begin = Clock::now();
    const auto elapsed = [begin] {
        return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin)
            .count();
    };
    Soak soak(seed);
    if (stress) {
        soak.stress(amount);
        printStress(soak.tally());
    } else {
        // On a slow machine the kills decide, not the time.
        const long kills = amount * killsInDefaultTime / defaultSeconds;
        soak.twoUsers();
        while (elapsed() < amount || soak.tally().killed < kills)
            soak.scene();
        soak.checkNames();
        printSoak(soak.tally());
    }
    printFaults(soak.tally(), elapsed());
    return amount > 0 && soak.tally().isClean() ? 0 : 1;
}
