#include "ctl/generate.h"

#include "ctl/background.h"
#include "ctl/check.h"
#include "ctl/end_request.h"
#include "ctl/from_text.h"
#include "ctl/message.h"
#include "ctl/norv_path.h"
#include "ctl/norv_process.h"
#include "ctl/number_text.h"
#include "ctl/output_file.h"
#include "ctl/progress.h"
#include "ctl/secret_text.h"
#include "platform/dependent.h"
#include "platform/process.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace
{

constexpr std::uint64_t tickMilliseconds = 250;

// A reader that does not read holds up the writing. Who then asks for an end gets it
// after so long.
constexpr std::uint64_t writePatienceMilliseconds = 500;

// The whole command. Everything happens on one loop: on another thread the reading of the
// base, the question for norv's version where that is told, a search, on another thread
// its check and the writing, and the next search.
struct Generation {
    enum class State {
        reading,
        asking,
        searching,
        checking,
        writing,
        ending
    } state = State::reading;
    const Options* options = nullptr;
    std::string norv;
    std::string norvVersion;
    SecretNumber givenBase;  // null: a random one each time
    EndReason refusal;       // why no search can begin; exit code 0 where one can
    bool keepsPrime = false; // in `found`, and writes it nowhere
    Output output;
    Progress progress;

    uv_loop_t loop = {};
    EndRequests requests;
    uv_timer_t timeLimit = {};
    uv_timer_t tick = {};
    uv_timer_t writePatience = {};
    Background background; // the reading, the check, the writing

    VersionQuestion question;
    std::unique_ptr<SearchGroup> group;
    std::uint64_t beganFirst = 0; // the first search, in nanoseconds
    std::uint64_t began = 0;      // the current search
    Found found;
    CheckResult checked = CheckResult::failed;
    std::string writeFailure; // empty: the prime is written
    EndReason asked;          // why it is to end before it is done
    EndReason end;
};

Generation& generationOf(const uv_handle_t* handle)
{
    return *static_cast<Generation*>(handle->data);
}

double secondsSince(std::uint64_t nanoseconds)
{
    return static_cast<double>(uv_hrtime() - nanoseconds) / 1e9;
}

// Every way to the end leads here.
void finish(Generation& generation, EndReason end)
{
    generation.state = Generation::State::ending;
    generation.end = std::move(end);
    closeProgress(generation.progress);
    closeEndRequests(generation.requests);
    for (uv_timer_t* timer :
         {&generation.timeLimit, &generation.tick, &generation.writePatience})
        uv_close(reinterpret_cast<uv_handle_t*>(timer), nullptr);
}

std::string failedCheckText(CheckResult result)
{
    switch (result) {
    case CheckResult::wrongSize:
        return "has the wrong size";
    case CheckResult::belowBase:
        return "is not above its base";
    case CheckResult::notPrime:
        return "is not prime";
    default:
        return "is prime, but no safe prime";
    }
}

constexpr char libraryFailed[] = "libcrypto failed; is memory short?";

// "; nothing was written", or how many primes were.
std::string writtenText(const Generation& generation)
{
    const int done = generation.progress.done;
    if (done == 0)
        return "; nothing was written";
    return "; written before: " + std::to_string(done) + " of " +
           std::to_string(generation.options->count);
}

// Why the search ends before it is done; with --count also what was written until then.
EndReason askedEnd(const Generation& generation)
{
    EndReason end = generation.asked;
    if (generation.progress.done > 0)
        end.line += writtenText(generation);
    return end;
}

void beginSearch(Generation& generation);

void deliver(Generation& generation)
{
    Progress& progress = generation.progress;
    ++progress.done;
    if (progress.done == generation.options->count) {
        showEnd(progress, secondsSince(generation.beganFirst), generation.found.seconds);
        return finish(generation, {});
    }
    if (generation.asked.exitCode != 0)
        return finish(generation, askedEnd(generation));
    beginSearch(generation);
}

void runWriting(Generation& generation) noexcept
{
    std::optional<std::string> bytes =
        inFormat(generation.found, generation.options->format);
    if (!bytes) {
        generation.writeFailure = libraryFailed;
        return;
    }
    const SecretText result(std::move(*bytes));
    generation.writeFailure = addResult(generation.output, result.text);
}

void writingEnded(Generation& generation) noexcept
{
    if (generation.writeFailure.empty())
        return deliver(generation);
    finish(generation, {exitNo, generation.writeFailure});
}

void runBeside(Generation& generation, void (*work)(Generation&) noexcept,
               void (*ended)(Generation&) noexcept)
{
    startBackground(
        generation.background, &generation.loop,
        [&generation, work] { work(generation); },
        [&generation, ended] { ended(generation); });
}

void beginWriting(Generation& generation)
{
    if (generation.keepsPrime)
        return deliver(generation);
    generation.state = Generation::State::writing;
    // The result may go to the same terminal.
    clearProgress(generation.progress);
    runBeside(generation, runWriting, writingEnded);
}

void failCheck(Generation& generation)
{
    std::string line = "the number that " + generation.norv + " found " +
                       failedCheckText(generation.checked) + writtenText(generation);
    if (generation.options->verbose)
        line += "; the base was " +
                hexText(generation.found.base.get(), generation.options->bits / 8);
    finish(generation, {exitNorv, line});
}

void runCheck(Generation& generation) noexcept
{
    const Found& found = generation.found;
    generation.checked = checkFound(found.prime.get(), found.base.get(), found.bits,
                                    found.safe, found.threads);
}

void checkEnded(Generation& generation) noexcept
{
    if (generation.checked == CheckResult::failed)
        return finish(generation, {exitNo, libraryFailed});
    if (generation.checked != CheckResult::good)
        return failCheck(generation);
    beginWriting(generation);
}

void beginCheck(Generation& generation, SearchOutcome outcome)
{
    const Options& options = *generation.options;
    generation.state = Generation::State::checking;
    Found& found = generation.found;
    found.prime = std::move(outcome.prime);
    found.base = std::move(outcome.base);
    found.safe = options.safe;
    found.bits = options.bits;
    found.threads = options.threads;
    found.seconds = secondsSince(generation.began);
    found.fromText = options.from.value_or("");
    found.norvVersion = generation.norvVersion;
    found.tried = iterationsOfCheck(options.bits);
    showChecking(generation.progress, found.seconds);
    runBeside(generation, runCheck, checkEnded);
}

void searchEnded(Generation& generation, SearchOutcome outcome)
{
    generation.group.reset();
    if (generation.asked.exitCode != 0) {
        showStopped(generation.progress, secondsSince(generation.began));
        return finish(generation, askedEnd(generation));
    }
    if (outcome.kind == SearchOutcome::Kind::found)
        return beginCheck(generation, std::move(outcome));
    finish(generation, {exitNorv, outcome.message});
}

// A random base whose runs all stay within the share.
SecretNumber drawBase(const Options& options)
{
    if (options.share.count == 1)
        return randomBase(options.bits, {0, 1});
    const int runs = runsFor(options.threads);
    return randomBase(options.bits,
                      {runs * options.share.index, runs * options.share.count});
}

void beginSearch(Generation& generation)
{
    const Options& options = *generation.options;
    generation.state = Generation::State::searching;
    const SecretNumber random = generation.givenBase ? nullptr : drawBase(options);
    const BIGNUM* base = random ? random.get() : generation.givenBase.get();
    generation.group = std::make_unique<SearchGroup>();
    generation.began = uv_hrtime();
    if (generation.beganFirst == 0) {
        generation.beganFirst = generation.began;
        showStart(generation.progress);
    }
    startGroup(*generation.group, &generation.loop,
               {generation.norv, options.bits, options.safe, options.threads}, base,
               options.share.count, [&generation](SearchOutcome outcome) {
                   searchEnded(generation, std::move(outcome));
               });
}

// Ends the process while its other thread works. A check of a large prime takes seconds
// and cannot be broken off; nor can the writing to a reader that does not read.
[[noreturn]] void leaveWork(Generation& generation)
{
    closeProgress(generation.progress);
    say(askedEnd(generation).line);
    finishWithDependents();
    // Nobody will join it, whether it works or has just ended.
    if (generation.background.thread.joinable())
        generation.background.thread.detach();
    endProcess(generation.asked.exitCode);
}

void writePatienceEnded(uv_timer_t* timer) noexcept
{
    leaveWork(generationOf(reinterpret_cast<uv_handle_t*>(timer)));
}

// A second request.
void endAtOnce(Generation& generation)
{
    if (generation.state == Generation::State::writing)
        leaveWork(generation);
    if (generation.group)
        killGroup(*generation.group);
}

void endRequested(Generation& generation, const EndReason& reason)
{
    if (generation.state == Generation::State::ending)
        return;
    if (generation.asked.exitCode != 0)
        return endAtOnce(generation);
    generation.asked = reason;
    switch (generation.state) {
    case Generation::State::asking:
        return killQuestion(generation.question);
    case Generation::State::searching:
        return stopGroup(*generation.group);
    case Generation::State::reading:
    case Generation::State::checking:
        leaveWork(generation);
    default:
        uv_timer_start(&generation.writePatience, writePatienceEnded,
                       writePatienceMilliseconds, 0);
    }
}

void timeLimitReached(uv_timer_t* timer) noexcept
{
    Generation& generation = generationOf(reinterpret_cast<uv_handle_t*>(timer));
    if (generation.asked.exitCode != 0)
        return;
    const std::string limit =
        "the time limit of " + durationText(generation.options->timeout);
    const bool found =
        generation.progress.done > 0 || generation.state == Generation::State::writing;
    endRequested(generation,
                 {124, found ? limit + " is reached" : "no prime within " + limit});
}

void quarterSecondPassed(uv_timer_t* timer) noexcept
{
    Generation& generation = generationOf(reinterpret_cast<uv_handle_t*>(timer));
    if (generation.state == Generation::State::searching)
        showElapsed(generation.progress, secondsSince(generation.began));
}

void startTimer(Generation& generation, uv_timer_t& timer, uv_timer_cb callback,
                std::uint64_t milliseconds, std::uint64_t repeat)
{
    uv_timer_init(&generation.loop, &timer);
    timer.data = &generation;
    if (milliseconds > 0)
        uv_timer_start(&timer, callback, milliseconds, repeat);
}

void listen(Generation& generation)
{
    listenForEndRequests(
        generation.requests, &generation.loop,
        [&generation](const EndReason& reason) { endRequested(generation, reason); });
    const double limit = generation.options->timeout * 1000;
    startTimer(
        generation, generation.timeLimit, timeLimitReached,
        limit > 0 ? std::max<std::uint64_t>(1, static_cast<std::uint64_t>(limit)) : 0, 0);
    startTimer(generation, generation.tick, quarterSecondPassed,
               generation.progress.live ? tickMilliseconds : 0, tickMilliseconds);
    startTimer(generation, generation.writePatience, writePatienceEnded, 0, 0);
}

// Sets givenBase; it stays null when each search is to have a random base. Returns why it
// cannot, with the exit code 0 when it can.
EndReason takeBase(Generation& generation)
{
    const Options& options = *generation.options;
    std::variant<SecretNumber, std::string> base;
    std::string name;
    if (options.from) {
        base = SecretNumber(
            baseFromText(*options.from, options.bits, options.safe).release());
        if (!std::get<SecretNumber>(base))
            throw std::bad_alloc();
    } else if (options.base) {
        name = "--base";
        base = baseFromHex(*options.base, options.bits);
    } else if (!options.baseFile.empty()) {
        name = "--base-file " + options.baseFile;
        base = baseFromFile(options.baseFile, options.bits);
    }
    if (const std::string* wrong = std::get_if<std::string>(&base))
        return {exitUsage, name + ": " + *wrong};
    if (const SecretNumber& number = std::get<SecretNumber>(base))
        generation.givenBase = spreadBase(number.get(), options.bits, options.share);
    return {};
}

// What can be refused before a search begins. The exit code is 0 when nothing is.
EndReason prepare(Generation& generation)
{
    const Options& options = *generation.options;
    generation.norv = findNorv(options.norv);
    if (generation.norv.empty())
        return {exitNorv, whyNoNorv(options.norv)};
    if (const std::string why = whyNotWritable(generation.output); !why.empty())
        return {exitNo, why};
    return {};
}

void versionTold(Generation& generation, std::string version)
{
    generation.norvVersion = std::move(version);
    if (generation.asked.exitCode != 0)
        return finish(generation, generation.asked);
    if (generation.norvVersion.empty())
        return finish(generation,
                      {exitNorv, generation.norv + " does not name its version "
                                                   "as norv does"});
    beginSearch(generation);
}

// Where norv's version is told, in one form, it is asked for first.
void begin(Generation& generation)
{
    generation.state = Generation::State::asking;
    if (generation.keepsPrime || generation.options->format != Format::json)
        return beginSearch(generation);
    askForVersion(generation.question, &generation.loop, generation.norv,
                  [&generation](std::string version) {
                      versionTold(generation, std::move(version));
                  });
}

void runReading(Generation& generation) noexcept
{
    if (!generation.givenBase)
        generation.refusal = takeBase(generation);
}

void readingEnded(Generation& generation) noexcept
{
    EndReason& refusal = generation.refusal;
    if (refusal.exitCode == 0)
        refusal = prepare(generation);
    if (refusal.exitCode != 0)
        return finish(generation, refusal);
    const Options& options = *generation.options;
    if (generation.progress.shown)
        generation.progress.estimate = estimateSearch(
            options.bits, options.safe, options.threads, usableProcessors(),
            measureCosts(options.bits, options.safe, options.threads));
    begin(generation);
}

// Searches until nothing is left to do. Afterwards generation.end is set.
void searchAll(Generation& generation)
{
    const Options& options = *generation.options;
    if (uv_loop_init(&generation.loop) != 0) {
        generation.end = {exitNorv, noRoom};
        return;
    }
    Progress& progress = generation.progress;
    progress.bits = options.bits;
    progress.safe = options.safe;
    progress.threads = options.threads;
    progress.count = options.count;
    openProgress(progress, &generation.loop, options.quiet);
    listen(generation);
    runBeside(generation, runReading, readingEnded);
    uv_run(&generation.loop, UV_RUN_DEFAULT);
    uv_loop_close(&generation.loop);
}

} // namespace

int generate(const Options& options)
{
    Generation generation;
    generation.options = &options;
    generation.output.path = options.output;
    EndReason& end = generation.end;
    // Before the base is here: the process that this makes must not have it.
    if (prepareForDependents()) {
        searchAll(generation);
        finishWithDependents();
    } else {
        end = {exitNorv, noRoom};
    }
    if (!end.line.empty())
        say(end.line);
    return end.exitCode;
}

RepeatedSearch repeatSearch(const Options& options, const BIGNUM* base, int bits,
                            bool safe)
{
    Options search = options;
    search.bits = bits;
    search.safe = safe;
    search.threads = 1;
    Generation generation;
    generation.options = &search;
    generation.keepsPrime = true;
    generation.givenBase.reset(BN_dup(base));
    if (!generation.givenBase)
        throw std::bad_alloc();
    searchAll(generation);
    const EndReason& end = generation.end;
    if (end.exitCode != 0)
        return {nullptr, end.exitCode, end.line};
    return {std::move(generation.found.prime), 0, {}};
}
