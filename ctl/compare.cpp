#include "ctl/compare.h"

#include "ctl/background.h"
#include "ctl/base.h"
#include "ctl/check.h"
#include "ctl/comparison.h"
#include "ctl/end_request.h"
#include "ctl/estimate.h"
#include "ctl/message.h"
#include "ctl/norv_path.h"
#include "ctl/norv_process.h"
#include "ctl/norv_run.h"
#include "ctl/output_file.h"
#include "ctl/progress.h"
#include "platform/cpu_time.h"
#include "platform/dependent.h"
#include "platform/process.h"

#include <memory>
#include <utility>

namespace
{

// The errors need two.
constexpr std::size_t leastPairs = 2;

// The whole command. One loop: a search of norv, then on another thread the check of its
// prime and a search of libcrypto, then the next pair.
struct Contest {
    enum class State { norv, libcrypto, ending } state = State::norv;
    const Options* options = nullptr;
    std::string norv;
    Comparison comparison;
    Progress progress;

    uv_loop_t loop = {};
    EndRequests requests;
    Background background;

    std::unique_ptr<NorvRun> run;
    WatchedChild child;
    std::uint64_t began = 0; // in nanoseconds
    SecretNumber base;
    SecretNumber prime;
    CheckResult checked = CheckResult::failed;
    double libcryptoSeconds = 0;
    bool libcryptoFound = false;
    EndReason asked; // why it is to end before it is done
    EndReason end;
};

void finish(Contest& contest, EndReason end)
{
    contest.state = Contest::State::ending;
    contest.end = std::move(end);
    closeProgress(contest.progress);
    closeEndRequests(contest.requests);
}

double secondsOf(const Contest& contest)
{
    return static_cast<double>(uv_hrtime() - contest.began) / 1e9;
}

void beginPair(Contest& contest);

// Not for anybody's use: only its time counts.
bool generateByLibcrypto(int bits, bool safe)
{
    const SecretNumber prime(BN_new());
    const Context context(BN_CTX_new());
    return prime && context &&
           BN_generate_prime_ex2(prime.get(), bits, safe ? 1 : 0, nullptr, nullptr,
                                 nullptr, context.get()) == 1;
}

void runLibcrypto(Contest& contest) noexcept
{
    const Options& options = *contest.options;
    contest.checked = checkFound(contest.prime.get(), contest.base.get(), options.bits,
                                 options.safe, usableProcessors());
    const double before = threadCpuSeconds();
    contest.libcryptoFound = generateByLibcrypto(options.bits, options.safe);
    contest.libcryptoSeconds = threadCpuSeconds() - before;
}

void libcryptoEnded(Contest& contest) noexcept
{
    if (contest.checked == CheckResult::failed || !contest.libcryptoFound)
        return finish(contest, {exitNo, "libcrypto failed; is memory short?"});
    if (contest.checked != CheckResult::good)
        return finish(contest, {exitNorv, "the number that " + contest.norv +
                                              " found is not a prime of this kind"});
    contest.comparison.libcrypto.push_back(contest.libcryptoSeconds);
    beginPair(contest);
}

void norvEnded(Contest& contest, RunOutcome outcome)
{
    const double seconds = cpuSecondsOf(contest.child);
    contest.run.reset();
    if (contest.asked.exitCode != 0)
        return finish(contest, contest.asked);
    if (outcome.kind != RunOutcome::Kind::found)
        return finish(contest, {exitNorv, outcome.message});
    contest.comparison.norv.push_back(seconds);
    contest.prime = std::move(outcome.prime);
    contest.state = Contest::State::libcrypto;
    startBackground(
        contest.background, &contest.loop, [&contest] { runLibcrypto(contest); },
        [&contest] { libcryptoEnded(contest); });
}

void beginPair(Contest& contest)
{
    const Options& options = *contest.options;
    const std::size_t done = contest.comparison.libcrypto.size();
    if (done >= leastPairs && secondsOf(contest) >= options.seconds)
        return finish(contest, {});
    showLine(contest.progress, searchText(options.bits, options.safe, 1) + ": " +
                                   std::to_string(done) + " searches of each, " +
                                   durationText(secondsOf(contest)) + " of " +
                                   durationText(options.seconds));
    contest.state = Contest::State::norv;
    contest.base = randomBase(options.bits, {0, 1});
    contest.run = std::make_unique<NorvRun>();
    startRun(*contest.run, &contest.loop, {contest.norv, options.bits, options.safe, 1},
             contest.base.get(),
             [&contest](RunOutcome outcome) { norvEnded(contest, std::move(outcome)); });
    contest.child = watchChild(uv_process_get_pid(&contest.run->process));
}

// A search of libcrypto may take an hour.
[[noreturn]] void leaveLibcrypto(Contest& contest)
{
    closeProgress(contest.progress);
    say(contest.asked.line);
    finishWithDependents();
    endProcess(contest.asked.exitCode);
}

void endRequested(Contest& contest, const EndReason& reason)
{
    if (contest.state == Contest::State::ending)
        return;
    if (contest.asked.exitCode != 0)
        return killRun(*contest.run);
    contest.asked = reason;
    if (contest.state == Contest::State::libcrypto)
        leaveLibcrypto(contest);
    stopRun(*contest.run);
}

// Afterwards contest.end is set.
void runPairs(Contest& contest)
{
    const Options& options = *contest.options;
    if (uv_loop_init(&contest.loop) != 0) {
        contest.end = {exitNorv, noRoom};
        return;
    }
    openProgress(contest.progress, &contest.loop, options.quiet);
    if (contest.progress.shown && !contest.progress.live)
        say("comparing searches for " + std::string(options.safe ? "safe " : "") +
            "primes of " + std::to_string(options.bits) + " bits for " +
            durationText(options.seconds));
    listenForEndRequests(
        contest.requests, &contest.loop,
        [&contest](const EndReason& reason) { endRequested(contest, reason); });
    contest.began = uv_hrtime();
    beginPair(contest);
    uv_run(&contest.loop, UV_RUN_DEFAULT);
    uv_loop_close(&contest.loop);
}

// The same, with what norv needs to be started.
void runAll(Contest& contest)
{
    if (!prepareForDependents()) {
        contest.end = {exitNorv, noRoom};
        return;
    }
    runPairs(contest);
    finishWithDependents();
}

} // namespace

int compare(const Options& options)
{
    Contest contest;
    contest.options = &options;
    contest.comparison.bits = options.bits;
    contest.comparison.safe = options.safe;
    contest.norv = findNorv(options.norv);
    if (contest.norv.empty())
        contest.end = {exitNorv, whyNoNorv(options.norv)};
    else
        runAll(contest);
    if (contest.end.exitCode == 0) {
        Output output;
        const std::string failure = addResult(output, comparisonText(contest.comparison));
        contest.end = {failure.empty() ? 0 : exitNo, failure};
    }
    if (!contest.end.line.empty())
        say(contest.end.line);
    return contest.end.exitCode;
}
