// Whole runs of norvctl, with calls of its libraries, allocations and system calls
// failing once, each in a run of its own. Whatever fails, a run gives its whole result
// and ends with 0, or gives none, says one line and ends with 1, 2 or 3; it leaves no
// other file, no run of norv and no semaphore.
//
//   norv_ctl_faults [STEP [--any-build]]   after the first calls, only every STEP-th
//                                          fails; without the check of the imports
#include "tests/faults/fault.h"
#include "tests/faults/faulty_process.h"
#include "tests/faults/listed_calls.h"
#include "tests/faults/tally.h"
#include "tests/support/comes_true.h"
#include "tests/support/process.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

Tally tally;
int step = 1;

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The folder that a run writes to, empty before each run.
struct Workplace {
    fs::path folder =
        fs::temp_directory_path() / ("norv_ctl_faults_" + std::to_string(getpid()));
    fs::path results = folder / "results";
    fs::path report = folder / "report";

    Workplace()
    {
        fs::create_directories(results);
    }
    ~Workplace()
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    std::string output() const
    {
        return results / "output";
    }
};

struct Run {
    std::string name;
    Arguments arguments;
    std::string input = {};
    std::string result = {};  // all of standard output; empty: any
    std::string content = {}; // all of the file that is written; empty: any
    bool writesFile = false;
    bool keepsFile = false; // which may hold a part of the primes
    int exitCode = 0;
    int otherLines = 0; // on standard error, besides a reason for having no result
};

constexpr FaultKind kinds[] = {FaultKind::libraryCall, FaultKind::libraryMemory,
                               FaultKind::ownMemory, FaultKind::systemCall};

// The errors that a call may meet.
const std::map<std::string, std::vector<int>> errors{
    {"fchmod", {EPERM}},        {"fork", {EAGAIN}},     {"fstat", {EIO}},
    {"fsync", {EIO}},           {"getrandom", {EINTR}}, {"linkat", {ENOSPC, EEXIST}},
    {"lstat", {EACCES}},        {"mmap", {ENOMEM}},     {"open", {EMFILE, EACCES, EINTR}},
    {"pipe2", {EMFILE}},        {"pread", {EIO}},       {"pthread_create", {EAGAIN}},
    {"read", {EIO, EINTR}},     {"realpath", {ENOENT}}, {"rename", {EACCES}},
    {"sem_post", {EOVERFLOW}},  {"stat", {EACCES}},     {"waitpid", {EINTR}},
    {"write", {ENOSPC, EINTR}},
};

// The semaphores of this user's runs that norvctl has started.
std::set<std::string> semaphores()
{
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator("/dev/shm"))
        if (entry.path().filename().string().starts_with("sem.norvctl-"))
            names.insert(entry.path().filename());
    return names;
}

// Whether a text is one line of the program, or up to `others` more.
bool isOneLine(const std::string& text, int others = 0)
{
    std::istringstream stream(text);
    int lines = 0;
    for (std::string line; std::getline(stream, line); ++lines)
        if (!line.starts_with("norvctl: "))
            return false;
    return lines >= 1 && lines <= 1 + others && text.back() == '\n';
}

std::string inWords(const Ending& ending)
{
    if (ending.exitCode == hungExitCode)
        return "hung";
    return "exit code " + std::to_string(ending.exitCode) + ", output '" + ending.output +
           "', errors '" + ending.errors + "'";
}

void checkUnharmed(const Run& run, const Workplace& place, const Ending& ending)
{
    if (run.exitCode != 0) {
        tally.expect(ending.output.empty() && isOneLine(ending.errors), inWords(ending));
        return;
    }
    tally.expect(run.result.empty() ? run.writesFile || !ending.output.empty()
                                    : ending.output == run.result,
                 "another result: " + inWords(ending));
    if (!run.writesFile)
        return;
    const std::string content = contentOf(place.output());
    tally.expect(run.content.empty() ? !content.empty() : content == run.content,
                 "another file: " + content);
}

// A run without a result says why, once. A check that could not be made must not say
// what the number is.
void checkRefusal(const Run& run, const Ending& ending)
{
    const bool checked = ending.exitCode == 1 && ending.errors.empty() &&
                         ending.output.find("libcrypto failed") != std::string::npos;
    tally.expect(ending.exitCode >= 1 && ending.exitCode <= 3, inWords(ending));
    tally.expect(checked ||
                     (ending.output.empty() && isOneLine(ending.errors, run.otherLines)),
                 inWords(ending));
}

void checkRest(const Run& run, const Workplace& place, const Ending& ending,
               const std::set<std::string>& before)
{
    tally.expect(faultReport->foreignFrees == 0, "a block given back twice");
    const auto files =
        std::distance(fs::directory_iterator(place.results), fs::directory_iterator());
    const bool whole = run.writesFile && fs::exists(place.output());
    tally.expect(files == (whole ? 1 : 0), std::to_string(files) + " files are left");
    tally.expect(ending.exitCode == 0 || !whole || run.keepsFile,
                 "a file without a good end");
    tally.expect(comesTrue([&] {
                     const std::set<std::string> after = semaphores();
                     return std::includes(before.begin(), before.end(), after.begin(),
                                          after.end());
                 }),
                 "a semaphore is left");
}

// Whether the fault struck.
bool runFaulty(const Run& run, const Workplace& place, const Fault& fault)
{
    tally.where = run.name + ", " + inWords(fault);
    fs::remove(place.output());
    const std::set<std::string> before = semaphores();
    describeFault(fault);
    Process process(FAULTY_NORVCTL, run.arguments, {Streams::Input::text, run.input});
    const Ending ending = process.wait();
    const bool struck = faultReport->struck;
    tally.count(fault, *faultReport);
    tally.expect(ending.inTime, "not in time");
    if (ending.exitCode == run.exitCode)
        checkUnharmed(run, place, ending);
    else
        checkRefusal(run, ending);
    tally.expect(struck || ending.exitCode == run.exitCode, inWords(ending));
    checkRest(run, place, ending, before);
    return struck;
}

int after(int number)
{
    constexpr int first = 20;
    return number < first ? number + 1 : number + step;
}

// The first calls of each function, of which a check of a prime makes hundreds.
void failLibraryCalls(const Run& run, const Workplace& place,
                      const std::set<std::string>& functions)
{
    constexpr int mostCalls = 12;
    for (const std::string& function : functions)
        for (int number = 1; number <= mostCalls; ++number)
            if (!runFaulty(run, place, {FaultKind::libraryCall, function, number}))
                break;
}

void failSystemCalls(const Run& run, const Workplace& place)
{
    for (const auto& [function, numbers] : errors)
        for (const int error : numbers)
            for (int number = 1;; ++number)
                if (!runFaulty(run, place,
                               {FaultKind::systemCall, function, number, error}))
                    break;
}

// Threads may make one call more or less from run to run.
void failMemory(const Run& run, const Workplace& place, FaultKind kind)
{
    runFaulty(run, place, {kind});
    const int most = faultReport->met;
    for (int number = 1; number <= most; number = after(number))
        runFaulty(run, place, {kind, {}, number});
}

// The lists

struct Listed {
    const char* name;
    bool crypto;
    bool canFail;
};

const std::vector<Listed>& listedCalls()
{
#define CRYPTO(function, failure) {#function, true, true},
#define LOOP(function, failure) {#function, true, true},
#define SYSTEM(function, failure) {#function, false, true},
#define BY_HAND(function) {#function, false, true},
#define LOOP_BY_HAND(function) {#function, true, true},
#define CRYPTO_BY_HAND(function) {#function, true, true},
#define FRAMES(function) {#function, false, false},
#define ELSEWHERE(function) {#function, false, false},
#define CERTAIN(function) {#function, false, false},
    static const std::vector<Listed> calls{
#include "tests/faults/norvctl_calls.inc"
    };
    return calls;
}

std::set<std::string> libraryFunctions()
{
    std::set<std::string> names;
    for (const Listed& call : listedCalls())
        if (call.crypto && call.canFail)
            names.insert(call.name);
    return names;
}

void checkImports()
{
    tally.where = "imports";
    std::set<std::string> names;
    for (const Listed& call : listedCalls())
        names.insert(call.name);
    std::size_t count = 0;
    for (const std::string version : {"OPENSSL_", "GLIBC_", ""})
        for (const std::string& name : importsOf(NORVCTL_PROGRAM, version)) {
            const bool ofLoader = name.starts_with("_ITM_") || name == "__gmon_start__";
            count += ofLoader ? 0 : 1;
            if (ofLoader || names.contains(name))
                continue;
            if (isListedSystem())
                tally.complain(name + " is called and not listed");
            else
                std::cout << "warning: " << name << " is called and not listed\n";
        }
    std::cout << count << " functions imported\n";
}

void checkAllFailed()
{
    tally.where = "coverage";
    for (const Listed& call : listedCalls())
        tally.expect(!call.canFail || tally.struckIn(call.name),
                     std::string(call.name) + " never failed");
}

// The runs

constexpr char base[] = "8123456789abcdef";

// What a run writes without a fault, to compare the others with.
std::string outputOf(const Arguments& arguments, const std::string& input = {})
{
    Ending ending =
        Process(NORVCTL_PROGRAM, arguments, {Streams::Input::text, input}).wait();
    if (ending.exitCode != 0)
        throw std::runtime_error("norvctl " + arguments.at(0) + ": " + ending.errors);
    return ending.output;
}

// A run with a result that is always the same.
Run fixedRun(const std::string& name, const Arguments& arguments,
             const std::string& input = {})
{
    return {name, arguments, input, outputOf(arguments, input)};
}

std::vector<Run> allRuns(const Workplace& place)
{
    const Arguments small{"generate", "64",     "--threads", "1",
                          "--quiet",  "--norv", NORV_PROGRAM};
    const auto with = [&](const Arguments& more) {
        Arguments arguments = small;
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    };
    const std::string pem = outputOf(with({"--safe", "--format", "pem", "--base", base}));
    const std::string json = outputOf(with({"--format", "json", "--from", "text"}));
    const std::string hex = outputOf(with({"--base", base}));

    std::vector<Run> runs;
    runs.push_back(fixedRun("hex", with({"--base", base})));
    Run file{"file", with({"--base", base, "--output", place.output()})};
    file.writesFile = true;
    file.content = hex;
    runs.push_back(file);
    Run files{"two primes in a file",
              {"generate", "64", "--count", "2", "--threads", "1", "--quiet", "--norv",
               NORV_PROGRAM, "--output", place.output()}};
    files.writesFile = true;
    files.keepsFile = true;
    runs.push_back(files);
    runs.push_back({"norv on the path", {"generate", "64", "--quiet"}});
    runs.push_back(fixedRun("base from input", with({"--base-file", "-"}), base));
    runs.push_back({"random", with({})});
    runs.push_back({"several runs",
                    {"generate", "64", "--threads", "65", "--share", "1/3", "--quiet",
                     "--norv", NORV_PROGRAM}});
    runs.push_back(fixedRun("pem", with({"--safe", "--format", "pem", "--base", base})));
    // Its base wraps around at the top of the size.
    runs.push_back(
        {"second share", with({"--share", "1/2", "--base", "ffffffffffffffff"})});
    runs.push_back(fixedRun("dec", with({"--format", "dec", "--base", base})));
    runs.push_back({"moduli", with({"--safe", "--format", "moduli"})});
    runs.push_back({"json", with({"--format", "json", "--from", "text"})});
    Run progress{"progress", {"generate", "512", "--norv", NORV_PROGRAM}};
    progress.otherLines = 1;
    runs.push_back(progress);
    runs.push_back(fixedRun("check pem", {"check", "--safe"}, pem));
    runs.push_back(fixedRun("check json", {"check"}, json));
    runs.push_back(fixedRun("check decimal", {"check"}, "18446744073709551557\n"));
    runs.push_back(fixedRun(
        "replay", {"check", "--replay", "--quiet", "--norv", NORV_PROGRAM}, json));
    runs.push_back({"estimate", {"estimate", "512", "--safe"}});
    runs.push_back({"estimate of a large size", {"estimate", "4096"}});
    runs.push_back(
        {"compare",
         {"compare", "64", "--seconds", "0.001", "--quiet", "--norv", NORV_PROGRAM}});
    Run none{"no semaphore", {"stop", "norv_ctl_faults_none"}};
    none.exitCode = 1;
    runs.push_back(none);
    // The time limit ends it: its semaphore is looked for and released.
    Run late{"time limit",
             {"generate", "16384", "--safe", "--threads", "1", "--quiet", "--timeout",
              "0.05", "--norv", NORV_PROGRAM}};
    late.exitCode = 124;
    runs.push_back(late);
    return runs;
}

int failEverything(bool knownBuild)
{
    const Workplace place;
    if (!shareFaultReport(place.report.c_str()))
        throw std::runtime_error("no report");
    setenv("NORV_FAULT_REPORT", place.report.c_str(), 1);
    const char* path = std::getenv("PATH");
    setenv("PATH",
           (fs::path(NORV_PROGRAM).parent_path().string() + ":" + (path ? path : ""))
               .c_str(),
           1);
    if (knownBuild)
        checkImports();
    for (const Run& run : allRuns(place)) {
        std::cout << run.name << std::endl;
        runFaulty(run, place, {});
        failLibraryCalls(run, place, libraryFunctions());
        failSystemCalls(run, place);
        for (const FaultKind kind : {FaultKind::ownMemory, FaultKind::libraryMemory})
            failMemory(run, place, kind);
    }
    if (knownBuild)
        checkAllFailed();
    return tally.finish("runs of norvctl", kinds);
}

} // namespace

int main(int count, char** arguments)
{
    try {
        if (count > 1)
            step = std::max(1, std::stoi(arguments[1]));
        // Builds that count lines call what the program does not, and other functions in
        // place of some that it calls.
        return failEverything(count < 3 || std::string(arguments[2]) != "--any-build");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
