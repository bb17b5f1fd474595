// Whole runs of the program, with calls of libcrypto, allocations and system calls
// failing once, each in a run of its own; and runs with streams and files that take or
// give nothing.
//
//   norv_program_faults [--any-build]   without the check of what the program imports
#include "tests/faults/fault.h"
#include "tests/faults/faulty_process.h"
#include "tests/faults/listed_calls.h"
#include "tests/faults/tally.h"
#include "tests/platform/posix/semaphore_locks.h"
#include "tests/support/foreign_semaphore.h"
#include "tests/support/posix/terminal.h"
#include "tests/support/prime_check.h"
#include "tests/support/process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

Tally tally;

// The test's own names and files

struct Workplace {
    fs::path folder =
        fs::temp_directory_path() / ("norv_faults_" + std::to_string(getpid()));
    std::string semaphore = "norv_faults_" + std::to_string(getpid());
    std::string file = "sem." + semaphore; // in the folder of semaphores

    Workplace()
    {
        fs::create_directories(folder);
    }
    ~Workplace()
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
        for (const std::string& path : {named(), dead()})
            unlink(path.c_str());
    }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    std::string named() const
    {
        return "/dev/shm/" + file;
    }
    // A name that a killed run left behind.
    std::string dead() const
    {
        return named() + "_dead";
    }
    std::string marks() const
    {
        return folder / "marks";
    }
};

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void shareReport(const Workplace& place)
{
    const std::string path = place.folder / "report";
    if (!shareFaultReport(path.c_str()))
        throw std::runtime_error("no report");
    setenv("NORV_FAULT_REPORT", path.c_str(), 1);
    setenv("NORV_FAULT_NAMES", place.file.c_str(), 1);
}

// Runs and how they end

enum class Outcome { result, none, notStarted, abnormal, wrong };
using Outcomes = std::set<Outcome>;

struct Run {
    std::string name;
    Arguments arguments;
    int bits = 32;
    bool safe = false;
    Streams streams = {};
    std::string base = {}; // its digits, where they are looked for in freed memory
    Outcomes unharmed = {Outcome::result}; // without a fault
};

// One worker that searches 32 bits.
Run smallRun(const Workplace& place, std::string name, const Arguments& more = {})
{
    Run run{
        std::move(name),
        {"-threads", "1", "-base", "8001C0DE", "-stopSemaphoreName", place.semaphore}};
    run.arguments.insert(run.arguments.end(), more.begin(), more.end());
    return run;
}

constexpr FaultKind kinds[] = {FaultKind::libraryCall, FaultKind::libraryMemory,
                               FaultKind::ownMemory, FaultKind::systemCall};

// Threads are counted as they start, from the process's own.
constexpr int watcherThread = 1;

const char* inWords(Outcome outcome)
{
    constexpr const char* words[] = {"a result", "exit code -1", "exit code -2",
                                     "an abnormal end", "something else"};
    return words[static_cast<int>(outcome)];
}

std::size_t charactersOf(const Run& run)
{
    return static_cast<std::size_t>(run.bits) / 8 * 3;
}

// The digits of the prime at the end of the output; empty when there is none.
std::string resultOf(const Run& run, const std::string& output)
{
    const std::size_t length = charactersOf(run);
    if (output.size() < length)
        return {};
    std::string digits;
    const std::string text = output.substr(output.size() - length);
    for (std::size_t i = 0; i < length; ++i) {
        const bool blank = i % 3 == 2;
        const bool digit =
            std::string("0123456789ABCDEF").find(text[i]) != std::string::npos;
        if (blank ? text[i] != ' ' : !digit)
            return {};
        if (!blank)
            digits += text[i];
    }
    return digits;
}

Outcome outcomeOf(const Run& run, const Ending& ending)
{
    if (!ending.inTime || !ending.errors.empty())
        return Outcome::wrong;
    const std::string digits = resultOf(run, ending.output);
    if (endedAbnormally(ending))
        return digits.empty() ? Outcome::abnormal : Outcome::wrong;
    if (!digits.empty())
        return ending.exitCode == seenExitCode(static_cast<int>(charactersOf(run))) &&
                       isPrime(digits, run.safe) && bitsOf(digits) == run.bits
                   ? Outcome::result
                   : Outcome::wrong;
    if (ending.exitCode == seenExitCode(-1))
        return Outcome::none;
    return ending.exitCode == seenExitCode(-2) ? Outcome::notStarted : Outcome::wrong;
}

// Describes the fault to the next process.
void armForRun(const Run& run, const Fault& fault)
{
    describeFault(fault);
    setenv("NORV_FAULT_SECRET", run.base.c_str(), 1);
}

Ending start(const Run& run, const Fault& fault)
{
    armForRun(run, fault);
    Process process(FAULTY_NORV, run.arguments, run.streams);
    return process.wait();
}

std::string inWords(const Ending& ending)
{
    if (ending.exitCode == hungExitCode)
        return "hung";
    return "exit code " + std::to_string(ending.exitCode) + ", output " + ending.output +
           ", errors " + ending.errors;
}

void expectOutcome(const Run& run, const Ending& ending, const Outcomes& allowed)
{
    const Outcome outcome = outcomeOf(run, ending);
    if (allowed.count(outcome) == 0)
        tally.complain(std::string(inWords(outcome)) + ": " + inWords(ending));
    tally.expect(faultReport->foreignFrees == 0, "a block given back twice");
    tally.expect(faultReport->secretFrees == 0, "something secret in a freed block");
}

// Runs with the fault. What is allowed then is asked when it is known what failed.
void runFaulty(const Run& run, const Fault& fault,
               const std::function<Outcomes()>& allowed)
{
    tally.where = run.name + ", " + inWords(fault);
    const Ending ending = start(run, fault);
    tally.count(fault, *faultReport);
    expectOutcome(run, ending, faultReport->struck ? allowed() : run.unharmed);
}

// System calls

// The errors that a call may meet. 0: less is transferred than was asked for.
const std::map<std::string, std::vector<int>> errors{
    {"__vfprintf_chk", {ENOSPC, EINTR}},
    {"close", {EIO, EINTR}},
    {"closedir", {EBADF, EINTR}},
    {"fchmod", {EPERM, EINTR}},
    {"fclose", {ENOSPC, EINTR}},
    {"fcntl", {ENOLCK, EAGAIN, EBADF}},
    {"fdopen", {ENOMEM}},
    {"fflush", {EIO, EINTR}},
    {"fread", {EIO, EINTR}},
    {"fstat", {EIO}},
    {"fwrite", {EIO}},
    {"isatty", {ENOTTY}},
    {"linkat", {EEXIST, ENOSPC}},
    {"lstat", {EACCES}},
    {"mkdir", {EACCES, ENOSPC}},
    {"mmap", {ENOMEM}},
    {"munmap", {EINVAL}},
    {"nanosleep", {EINTR}},
    {"open", {EMFILE, EACCES, ENOENT, EINTR}},
    {"open-append", {EACCES, EMFILE, ENXIO, EINTR}},
    {"opendir", {EMFILE, EINTR}},
    {"pread", {EIO, EINTR}},
    {"pthread_create", {EAGAIN}},
    {"pwrite", {ENOSPC, 0, EINTR}},
    {"read", {EIO, EINTR}},
    {"readdir", {EBADF}},
    {"rmdir", {EBUSY}},
    {"sem_clockwait", {EINTR, ETIMEDOUT, EINVAL}},
    {"sem_getvalue", {EINVAL}},
    {"sem_init", {ENOSPC}},
    {"sem_post", {EOVERFLOW}},
    {"setvbuf", {ENOMEM}},
    {"unlink", {EACCES}},
    {"vfprintf", {ENOSPC, EINTR}},
};

// How a run of a search may end after this one call failed.
Outcomes allowedAfter(const std::string& function, int error)
{
    using enum Outcome;
    // What the stream cannot read is missing, whatever the reason.
    if (function == "fread")
        return {none};
    // Signals interrupt a call and waits are in slices; neither changes what comes of it.
    if (error == EINTR || error == ETIMEDOUT)
        return {result};
    // A stream taken for a closed one only costs a descriptor.
    if (function == "fcntl" && error == EBADF)
        return {result};
    // Nobody waits where a thread is missing; so small a prime may stand there already.
    if (function == "pthread_create")
        return {notStarted, result};
    // Only a name that somebody else took first is tried again; the second link may be
    // missing.
    if (function == "linkat")
        return error == EEXIST ? Outcomes{result} : Outcomes{none, result};
    // No semaphore, no search: nobody could stop it.
    if (function == "fchmod" || function == "pwrite" || function == "sem_init")
        return {none};
    // The worker may be faster than the watcher that could not wait.
    if (function == "sem_clockwait")
        return {none, result};
    // open() also reads the command line, in thread 0; elsewhere it opens the semaphore.
    if (function == "open")
        return faultReport->thread == 0 ? Outcomes{notStarted} : Outcomes{none, result};
    // The command line is read twice, first for its length.
    if (function == "read")
        return {notStarted, result};
    if (function == "fcntl" || function == "fstat" || function == "lstat" ||
        function == "mmap" || function == "pread" || function == "unlink")
        return {none, result};
    return {result};
}

void nothing() {}
void noCheck(const Fault& /*fault*/) {}

// Fails each call of each of these functions, with each error, until a run makes
// fewer. `prepare` comes before a run, `check` after it.
void failSystemCalls(
    const Run& run, const Arguments& functions, const std::function<void()>& prepare,
    const std::function<void(const Fault&)>& check,
    const std::function<Outcomes(const std::string&, int)>& allowed = allowedAfter)
{
    for (const std::string& function : functions)
        for (const int error : errors.at(function))
            for (int number = 1;; ++number) {
                prepare();
                const Fault fault{FaultKind::systemCall, function, number, error};
                runFaulty(run, fault, [&] { return allowed(function, error); });
                check(fault);
                if (!faultReport->struck)
                    break;
            }
}

// A run that holds the semaphore and waits for its stop.
std::unique_ptr<Process> startHolder(const Workplace& place)
{
    auto holder = std::make_unique<Process>(
        NORV_PROGRAM, Arguments{"-stopSemaphoreName", place.semaphore, "-base", "80",
                                "-threads", "0", "-noPrompt"});
    const auto end = std::chrono::steady_clock::now() + Process::timeLimit;
    while (!fs::exists(place.named()) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return holder;
}

// What a run that was killed leaves in its semaphore's file.
std::string makeDeadSemaphore(const Workplace& place)
{
    const auto holder = startHolder(place);
    holder->kill();
    holder->wait();
    std::string image = contentOf(place.named());
    if (image.empty())
        throw std::runtime_error("no abandoned semaphore");
    return image;
}

std::string folderOfLinks()
{
    return "/dev/shm/norv-" + std::to_string(geteuid());
}

// Writes the image of an abandoned semaphore to `path`, with that file's name and an old
// last wait in it, and makes its second link.
void plant(const Workplace& place, const std::string& path, std::string image)
{
    const std::string name = fs::path(path).filename();
    image.replace(image.find(place.file), name.size(), name);
    std::ofstream(path, std::ios::binary) << image;
    chmod(path.c_str(), 0600);
    struct stat status = {};
    stat(path.c_str(), &status);
    mkdir(folderOfLinks().c_str(), 0700);
    const std::string entry =
        folderOfLinks() + "/" + std::to_string(status.st_ino) + "." + name;
    if (!makeOld(path) || (link(path.c_str(), entry.c_str()) != 0 && errno != EEXIST))
        throw std::runtime_error("no abandoned semaphore");
}

// Every call around the semaphore, with one of that name and one of another name left
// behind by killed runs. The next run must not suffer.
void failAroundTheSemaphore(const Workplace& place)
{
    const std::string image = makeDeadSemaphore(place);
    const Run run = smallRun(place, "semaphore", {"-noPrompt"});
    const auto prepare = [&] {
        plant(place, place.named(), image);
        plant(place, place.dead(), image);
    };
    const auto check = [&](const Fault&) {
        const bool struck = faultReport->struck;
        expectOutcome(run, start(run, {}), {Outcome::result});
        tally.expect(!fs::exists(place.named()), "the next run leaves its name");
        tally.expect(!fs::exists(place.dead()), "the next run leaves the dead name");
        faultReport->struck = struck;
    };
    const Arguments functions{"close",    "closedir", "fchmod",         "fcntl",
                              "fstat",    "linkat",   "lstat",          "mkdir",
                              "mmap",     "munmap",   "nanosleep",      "open",
                              "opendir",  "pread",    "pthread_create", "pwrite",
                              "read",     "readdir",  "rmdir",          "sem_getvalue",
                              "sem_init", "sem_post", "sem_clockwait",  "unlink"};
    failSystemCalls(run, functions, prepare, check);
    // The abandoned one is taken over; without one the semaphore is made.
    failSystemCalls(run, functions, nothing, check);
}

// The same with a semaphore that another program made.
void failWithForeignSemaphore(const Workplace& place)
{
    const std::wstring name(place.semaphore.begin(), place.semaphore.end());
    const Run run = smallRun(place, "foreign semaphore", {"-noPrompt"});
    const auto prepare = [&] {
        removeForeign(name);
        createForeign(name, 0);
    };
    const auto check = [&](const Fault&) {
        tally.expect(existsForeign(name), "the foreign name is gone");
    };
    failSystemCalls(run,
                    {"fcntl", "fstat", "lstat", "mmap", "munmap", "open", "pread",
                     "sem_post", "sem_clockwait", "unlink"},
                    prepare, check);
    removeForeign(name);
}

// The same with the semaphore of another run, which the first release stops.
void failWithSharedSemaphore(const Workplace& place)
{
    const Run run = smallRun(place, "shared semaphore", {"-noPrompt"});
    std::unique_ptr<Process> holder;
    const auto prepare = [&] {
        holder = startHolder(place);
    };
    const auto check = [&](const Fault&) {
        holder->kill();
        holder->wait();
    };
    failSystemCalls(run, {"close", "fcntl", "fstat", "lstat", "mmap", "open", "pread"},
                    prepare, check);
}

// A mark that fails is lost, and nothing else.
void failMarks(const Workplace& place)
{
    const Run run = smallRun(place, "marks in a file", {"-outPrompt", place.marks()});
    const auto prepare = [&] {
        fs::remove(place.marks());
    };
    prepare();
    tally.where = run.name;
    expectOutcome(run, start(run, {}), {Outcome::result});
    const std::size_t all = contentOf(place.marks()).size();
    tally.expect(all > 64, "marks");
    const auto check = [&](const Fault& fault) {
        const bool triedAgain = fault.function == "open-append" && fault.error == EINTR;
        const bool lost = faultReport->struck && faultReport->thread != 0 &&
                          fault.function != "fclose" && !triedAgain;
        tally.expect(contentOf(place.marks()).size() == (lost ? all - 1 : all), "marks");
    };
    failSystemCalls(
        run, {"fclose", "vfprintf", "__vfprintf_chk", "fdopen", "open-append"}, prepare,
        check, [](const std::string&, int) { return Outcomes{Outcome::result}; });
}

// The base from standard input, the marks and the result on standard output.
void failStreams(const Workplace& place)
{
    const Run run{"streams",
                  {"-threads", "1", "-input", "4", "-stopSemaphoreName", place.semaphore},
                  32,
                  false,
                  {Streams::Input::text, "80 01 C0 DE "}};
    failSystemCalls(run, {"fread", "vfprintf", "__vfprintf_chk"}, nothing, noCheck);

    // The exit code is the number of characters that the stream took.
    tally.where = run.name + ", half of the result";
    const Ending ending = start(run, {FaultKind::systemCall, "fwrite", 1, EIO});
    tally.count({FaultKind::systemCall, "fwrite", 1, EIO}, *faultReport);
    tally.expect(ending.exitCode == static_cast<int>(charactersOf(run) / 2),
                 inWords(ending));
    tally.expect(ending.output.find("Result:") + 7 + charactersOf(run) / 2 ==
                     ending.output.size(),
                 inWords(ending));
}

// Standard output is a terminal.
void failOnATerminal(const Workplace& place)
{
    const Run run = smallRun(place, "terminal");
    for (const std::string function : {"isatty", "setvbuf"}) {
        const Fault fault{FaultKind::systemCall, function, 1, errors.at(function)[0]};
        tally.where = run.name + ", " + inWords(fault);
        Terminal terminal;
        armForRun(run, fault);
        Ending ending =
            Process(shell, outputTo(terminal.path(), FAULTY_NORV, run.arguments)).wait();
        ending.output = terminal.shown();
        tally.count(fault, *faultReport);
        expectOutcome(run, ending, {Outcome::result});
    }
}

// A run that ends while its threads still run.
void failWithTooManyThreads(const Workplace& place)
{
    Run run{"64 threads",
            {"-threads", "64", "-base", "8001C0DE", "-noPrompt", "-stopSemaphoreName",
             place.semaphore}};
    // So small a prime may stand there before the wait has failed.
    run.unharmed = {Outcome::none, Outcome::result};
    failSystemCalls(run, {"fflush", "fcntl", "pthread_create", "unlink"}, nothing,
                    noCheck, [&](const std::string& function, int) {
                        return function == "pthread_create"
                                   ? Outcomes{Outcome::notStarted, Outcome::result}
                                   : run.unharmed;
                    });
    unlink(place.named().c_str());
}

// libcrypto and memory

Run searchOfTwo(const Workplace& place, bool safe)
{
    // Bounds that start with 100 are drawn for by subtracting.
    Run run{safe ? "two workers, safe" : "two workers",
            {"-threads", "2", "-base", "8123456789ABCDEF", "-stopSemaphoreName",
             place.semaphore},
            64,
            safe,
            {},
            "8123456789ABCDEF"};
    if (safe)
        run.arguments.emplace_back("-safe");
    return run;
}

Outcomes allowedAfterLibraryFault(const Fault& fault)
{
    using enum Outcome;
    if (fault.function == "BN_GENCB_new")
        return {abnormal};
    if (fault.function == "BN_bin2bn" && faultReport->thread == 0)
        return {none};
    // A result that cannot be copied is none; a window that cannot be ends its worker.
    if (fault.function == "BN_dup" && fault.number > 1)
        return {none, result};
    return {result};
}

// The first calls of each function: searches alone meet all of them elsewhere.
void failLibraryCalls(const Workplace& place)
{
    constexpr int mostCalls = 4;
    for (const bool safe : {false, true})
        for (const ListedFunction& function : cryptoFunctions())
            for (int number = 1; function.canFail && number <= mostCalls; ++number) {
                const Fault fault{FaultKind::libraryCall, function.name, number};
                runFaulty(searchOfTwo(place, safe), fault,
                          [&] { return allowedAfterLibraryFault(fault); });
            }
}

Outcomes allowedAfterMemoryFault()
{
    using enum Outcome;
    const bool own = !std::string(faultReport->function).starts_with("CRYPTO");
    if (faultReport->thread == 0 && faultReport->throwing)
        return {abnormal};
    // Own memory fails for a thread or for a trace; the library's memory for the base or
    // for the callback.
    if (faultReport->thread == 0)
        return own ? Outcomes{notStarted, result} : Outcomes{none, abnormal, result};
    // Without its semaphore there is no search.
    if (faultReport->thread == watcherThread)
        return {none};
    // One worker gives up or goes on; the other finds a prime, which must be copied.
    return own ? Outcomes{result} : Outcomes{none, result};
}

// Two workers take turns that differ from run to run: so the number of calls does.
void failMemory(const Run& run, FaultKind kind)
{
    tally.where = run.name;
    start(run, {kind});
    int most = faultReport->met;
    for (int number = 1; number <= most; ++number) {
        runFaulty(run, {kind, {}, number}, allowedAfterMemoryFault);
        if (!faultReport->struck)
            most = std::min(most, faultReport->met.load());
    }
}

std::string inPairs(const std::string& digits)
{
    std::string pairs;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        pairs += digits.substr(i, 2) + " ";
    return pairs;
}

void failAllMemory(const Workplace& place)
{
    for (const FaultKind kind : {FaultKind::ownMemory, FaultKind::libraryMemory}) {
        failMemory(searchOfTwo(place, false), kind);
        // A size that is sieved deeper, with marks in a file and a base from input.
        const std::string base =
            "C71D0A5E93B8264FDA317C68E5B92D04F6831BA75C9E40D28F6B17E3A0594CD801";
        Run large{"input",
                  {"-threads", "2", "-input", "33", "-outPrompt", place.marks(),
                   "-stopSemaphoreName", place.semaphore},
                  264,
                  false,
                  {Streams::Input::text, inPairs(base)},
                  base};
        failMemory(large, kind);
    }
}

// Streams and files of the real program

Ending runReal(const Arguments& arguments, const Streams& streams = {})
{
    Process process(NORV_PROGRAM, arguments, streams);
    return process.wait();
}

// A pipe that nobody reads.
std::string unread(const Workplace& place)
{
    std::string path = place.folder / "pipe";
    mkfifo(path.c_str(), 0600);
    return path;
}

void tryRealStreams(const Workplace& place)
{
    const Run run = smallRun(place, "");
    const int wholeResult = seenExitCode(static_cast<int>(charactersOf(run)));

    for (const std::string& file : {std::string("/dev/full"), place.folder.string(),
                                    (place.folder / "missing/marks").string(),
                                    std::string("/proc/version"), unread(place)}) {
        tally.where = "marks in " + file;
        expectOutcome(run, runReal(smallRun(place, "", {"-outPrompt", file}).arguments),
                      {Outcome::result});
    }
    tally.where = "standard output closed";
    Ending ending =
        runReal(run.arguments, {Streams::Input::text, "", Streams::Output::closed});
    tally.expect(ending.inTime && ending.exitCode == wholeResult, inWords(ending));

    tally.where = "standard output that nobody reads";
    ending = runReal(run.arguments, {Streams::Input::text, "", Streams::Output::unread});
    tally.expect(ending.inTime && ending.exitCode == wholeResult, inWords(ending));

    tally.where = "standard output full";
    ending = Process(shell, outputTo("/dev/full", NORV_PROGRAM, run.arguments)).wait();
    tally.expect(ending.inTime && ending.exitCode == wholeResult && ending.errors.empty(),
                 inWords(ending));

    tally.where = "standard input closed";
    ending =
        runReal({"-threads", "1", "-input", "4", "-stopSemaphoreName", place.semaphore},
                {Streams::Input::closed});
    expectOutcome(run, ending, {Outcome::none});
}

bool waitFor(const std::function<bool()>& event)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!event()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// The file of marks is taken away from under the program.
void removeMarks(const Workplace& place)
{
    tally.where = "marks removed";
    fs::remove(place.marks());
    Process process(NORV_PROGRAM,
                    {"-threads", "1", "-safe", "-input", "1024", "-test", "f",
                     "-outPrompt", place.marks(), "-stopSemaphoreName", place.semaphore});
    const auto written = [&] {
        return fs::exists(place.marks());
    };
    tally.expect(waitFor(written), "no marks");
    fs::remove(place.marks());
    tally.expect(waitFor(written), "no marks after the removal");
    tally.expect(
        postForeign(std::wstring(place.semaphore.begin(), place.semaphore.end())),
        "no semaphore");
    const Ending ending = process.wait();
    tally.expect(ending.inTime && ending.exitCode == seenExitCode(-1), inWords(ending));
}

// Whether the watch sees what it is there for: the name of the semaphore is no secret,
// and is not wiped.
void checkWatch(const Workplace& place)
{
    tally.where = "memory watch";
    Run run{"", {"-threads", "1", "-base", "8001C0DE", "-stopSemaphoreName"}};
    run.base = "5EC2E75EC2E7";
    run.arguments.push_back(place.semaphore + run.base);
    start(run, {});
    tally.expect(faultReport->secretFrees.exchange(0) > 0, "a name given back unseen");
}

// The lists

constexpr const char* cLibrary = "GLIBC_";

void checkImports()
{
    tally.where = "errors";
    for (const ListedFunction& function : systemFunctions())
        tally.expect(!function.canFail || errors.count(function.name) == 1,
                     std::string(function.name) + " has no errors");
    checkListed(systemFunctions(), "C library", cLibrary, tally);
}

void checkAllFailed()
{
    tally.where = "coverage";
    // All others fail in searches alone.
    tally.expect(tally.struckIn("BN_GENCB_new"), "BN_GENCB_new never failed");
    // A thread that gives way seldom has to pause.
    for (const std::string& name : failableImports(systemFunctions(), cLibrary))
        tally.expect(tally.struckIn(name) || name == "nanosleep", name + " never failed");
}

int failEverything(bool knownBuild)
{
    const Workplace place;
    shareReport(place);
    if (knownBuild)
        checkImports();
    checkWatch(place);
    tryRealStreams(place);
    removeMarks(place);
    failAroundTheSemaphore(place);
    failWithForeignSemaphore(place);
    failWithSharedSemaphore(place);
    failMarks(place);
    failStreams(place);
    failOnATerminal(place);
    failWithTooManyThreads(place);
    failLibraryCalls(place);
    failAllMemory(place);
    checkAllFailed();
    return tally.finish("whole runs", kinds);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        // Builds that count lines or watch memory call what the program does not.
        const bool knownBuild = argc < 2 || std::string(argv[1]) != "--any-build";
        return failEverything(knownBuild);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
