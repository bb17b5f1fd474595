// Searches, workers and the pieces that they are made of, with each fault of
// each_call.h.
//
//   norv_search_faults [STEP [PART]]   after the first calls every STEP-th only; one part
//                                      only, without a look at what never failed
#include "platform/named_semaphore.h"
#include "prime/base_bits.h"
#include "prime/events.h"
#include "prime/miller_rabin.h"
#include "prime/prime_generation.h"
#include "prime/search_sieve.h"
#include "prime/shortcuts.h"
#include "prime/sieve_plan.h"
#include "prime/sieve_primes.h"
#include "search/generation_callback.h"
#include "search/search_state.h"
#include "search/search_worker.h"
#include "search/settings.h"
#include "search/stop_flag.h"
#include "tests/fakes/exponentiation_way.h"
#include "tests/fakes/random_bytes.h"
#include "tests/faults/each_call.h"
#include "tests/faults/listed_calls.h"
#include "tests/faults/pieces.h"
#include "tests/support/big.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace
{

// Iterations of every test: what a search really takes, or fewer.
int iterations = 64;

// Events

// A search that rejected its prime may have far to go: it is stopped here.
constexpr int mostCandidates = 12;

struct Recorder {
    BIGNUM* candidate = nullptr;
    int refuseAt = 0; // the event that is refused, from 1; 0: none
    int events = 0;
    int nextCandidate = 0; // number that the next candidate event must carry
    bool inOrder = true;
    bool refused = false;
    std::string struckAt = {}; // the last candidate before the fault struck
};

int record(int event, int value, GenCallback* callback)
{
    const HarnessScope harness;
    auto& recorder = *static_cast<Recorder*>(BN_GENCB_get_arg(callback));
    ++recorder.events;
    switch (event) {
    case candidateEvent:
        recorder.inOrder = recorder.inOrder && value == recorder.nextCandidate++;
        addSecretNumber(recorder.candidate);
        addStart(recorder.candidate);
        if (!faultReport->struck)
            recorder.struckAt = toHex(recorder.candidate);
        break;
    case iterationEvent:
        recorder.inOrder = recorder.inOrder && value >= 0 && value < iterations;
        break;
    default:
        recorder.inOrder =
            recorder.inOrder && event == turnEvent && value == recorder.nextCandidate - 1;
        break;
    }
    // Refused once and ever after, as a stop is.
    recorder.refused = recorder.refused || recorder.events == recorder.refuseAt ||
                       recorder.nextCandidate > mostCandidates;
    return recorder.refused ? 0 : 1;
}

// Random bytes

// One number for every draw of its width: a start as well as a witness.
void drawAlways(const Bytes& number)
{
    fakeRandomBytes = [&number](std::uint8_t* buffer, std::int32_t count) {
        const auto size = static_cast<std::size_t>(count);
        const std::size_t used = std::min(size, number.size());
        std::fill_n(buffer, size - used, std::uint8_t{0});
        std::copy_n(number.data(), used, buffer + (size - used));
        return count;
    };
}

// Searches

struct Scenario {
    int bits;
    bool safe;
    bool fromBase;
    bool unwatched = false;
    int refuseAt = 0;
};

// Whether the search has a sieve, which only knows less after a failure.
bool hasSieve(const Scenario& scenario)
{
    return scenario.fromBase && scenario.bits >= 256;
}

// Whether strong tests come before the iterations: without its own memory or calls such
// a test rejects nothing.
bool hasStrongTest(const Scenario& scenario)
{
    return hasSieve(scenario) && scenario.bits >= 512;
}

std::string inWords(const Scenario& scenario)
{
    std::string words = std::to_string(scenario.bits) + " bits";
    words += scenario.safe ? ", safe" : ", plain";
    words += scenario.fromBase ? ", from the base" : ", from anywhere";
    if (scenario.unwatched)
        words += ", unwatched";
    if (scenario.refuseAt)
        words += ", refused at event " + std::to_string(scenario.refuseAt);
    return words;
}

// Where a search starts and what it must find: the prime, or the one above it when
// a failed test made it reject the first.
struct Target {
    std::string start;
    std::set<std::string> primes;
};

// A start from which two candidates, where there are so many, come before the prime.
Target targetAbove(int bits, bool safe, std::uint32_t seed)
{
    const oracle::Search search{bits, safe};
    const std::string prime =
        oracle::firstPrime(oracle::randomNumber(bits, seed), search);
    std::string start = oracle::sum(prime, -4);
    int passed = 0;
    for (std::string lower = start; passed < 2; lower = oracle::sum(lower, -4)) {
        const std::string candidate = oracle::nextCandidate(lower, search);
        if (candidate == oracle::sum(lower, 4) && candidate != prime)
            ++passed;
        if (isPrime(candidate, safe) && candidate != prime)
            break;
        start = lower;
    }
    return {start, {prime, oracle::firstPrime(prime, search)}};
}

// A number which, drawn as a start, leads to the prime as the only candidate, and,
// drawn as a witness, lies in range: four and more below the prime.
Target targetDrawn(int bits, bool safe, std::uint32_t seed)
{
    const oracle::Search search{bits, safe};
    for (;; ++seed) {
        const std::string random = oracle::randomNumber(bits, seed);
        if (random[0] < 'C') // the two top bits are forced
            continue;
        const std::string prime = oracle::firstPrime(random, search);
        const std::string start = oracle::sum(prime, -8);
        if (oracle::nextCandidate(oracle::sum(start, -4), search) == prime)
            return {start, {prime}};
    }
}

enum class Effect { endsUntouched, ends, rejects, any };

// What a search makes of a failed call that has one place in it. With endsUntouched it
// has not yet written its candidate.
Effect effectOf(const Scenario& scenario, const Fault& fault)
{
    // The first is the table of residues.
    if (fault.kind == FaultKind::ownMemory && fault.number == 1)
        return Effect::endsUntouched;
    if (fault.kind != FaultKind::libraryCall)
        return Effect::any;
    for (const char* name : {"BN_MONT_CTX_new", "BN_MONT_CTX_set", "BN_mod_exp_mont",
                             "BN_mod_mul", "BN_rshift", "BN_sub", "BN_sub_word"})
        if (struckIn(name))
            return hasStrongTest(scenario) ? Effect::any : Effect::rejects;
    if (struckIn("BN_CTX_get"))
        return fault.number == 1 ? Effect::endsUntouched : Effect::any;
    if (struckIn("BN_bin2bn") && scenario.fromBase)
        return Effect::rejects;
    if (!hasSieve(scenario))
        for (const char* name :
             {"BN_div", "BN_mod_word", "BN_new", "BN_rshift1", "BN_set_bit"})
            if (struckIn(name))
                return Effect::ends;
    return Effect::any;
}

void checkFound(const Scenario& scenario, const Fault& fault, const Target& target,
                int found, const Recorder& recorder, const std::string& result)
{
    tally.expect(found == 0 || found == 1, "returned " + std::to_string(found));
    tally.expect(recorder.inOrder, "events out of order");
    if (recorder.refused) {
        tally.expect(found == 0, "found in spite of the refusal");
        tally.expect(faultReport->struck || scenario.refuseAt != 0, "passed its prime");
        return;
    }
    if (found == 1) {
        tally.expect(target.primes.count(result) == 1, "found " + result);
        tally.expect(isPrime(result, scenario.safe) && bitsOf(result) == scenario.bits,
                     "no such prime: " + result);
    }
    if (!faultReport->struck) {
        tally.expect(found == 1, "nothing found without a fault");
        return;
    }
    const Effect effect = effectOf(scenario, fault);
    const bool ends = effect == Effect::ends || effect == Effect::endsUntouched;
    tally.expect(!ends || found == 0,
                 std::string("went on after ") + faultReport->function);
    tally.expect(effect != Effect::rejects || found == 1,
                 std::string("ended after ") + faultReport->function);
    tally.expect(effect != Effect::endsUntouched ||
                     result == (scenario.fromBase ? target.start : "1"),
                 "candidate written: " + result);
    // A failed test rejects its candidate. Without a sieve, a search can go on only when
    // the fault struck inside a test.
    const bool inTest = effect == Effect::rejects ||
                        (fault.kind == FaultKind::libraryMemory && !hasSieve(scenario));
    tally.expect(!inTest || !scenario.fromBase || found == 0 ||
                     result != recorder.struckAt,
                 "accepted in spite of the fault: " + result);
}

// One search with the fault, another one with the same context without.
void searchOnce(const Scenario& scenario, const Target& target, const Bytes& draw,
                const Fault& fault)
{
    const int mode =
        (scenario.safe ? modeSafe : 0) | (scenario.fromBase ? modeFromBase : 0);
    const auto restart = [&](BIGNUM* candidate) {
        BN_copy(candidate, fromHex(scenario.fromBase ? target.start : "1").get());
        if (scenario.fromBase)
            drawAnything();
        else
            drawAlways(draw);
    };

    forgetSecrets();
    Context context(BN_CTX_new());
    const SecretNumber candidate(BN_new());
    Recorder recorder{candidate.get(), scenario.refuseAt};
    const OwnedCallback callback = makeCallback(record, &recorder);
    restart(candidate.get());
    if (scenario.fromBase)
        addSecretNumber(candidate.get());

    watchForSecrets(true);
    armFault(fault);
    const int found = generatePrime(candidate.get(), 0, mode, nullptr, nullptr,
                                    callback.get(), context.get());
    disarmFault();
    watchForSecrets(false);
    checkFound(scenario, fault, target, found, recorder, toHex(candidate.get()));

    restart(candidate.get());
    const int foundAgain =
        generatePrime(candidate.get(), 0, mode, nullptr, nullptr, nullptr, context.get());
    tally.expect(foundAgain == 1 && target.primes.count(toHex(candidate.get())) == 1,
                 "the context does not serve again: " + std::to_string(foundAgain) + " " +
                     toHex(candidate.get()));
    // What the context holds now was secret as well.
    watchForSecrets(true);
    context.reset();
    watchForSecrets(false);
}

// Lets the process find the first `count` odd primes.
void makePrimes(std::size_t count)
{
    for (PrimeCursor cursor; cursor.passed < count;)
        takePrimes(cursor, count - cursor.passed);
}

void failInSearch(const Scenario& scenario, const Target& target)
{
    iterations = scenario.bits <= 16 && !scenario.safe ? 64 : 3;
    baseBits = scenario.bits;
    eventsUnwatched = scenario.unwatched;
    const Bytes draw = bigEndian(target.start);
    // What is made once for the process is made now. A search that fails may need more
    // primes than one that does not.
    makePrimes(
        planSieve(scenario.bits, scenario.safe ? modeFromBase | modeSafe : modeFromBase)
            .primeCount);
    searchOnce(scenario, target, draw, {});
    failEachCall(inWords(scenario),
                 [&](const Fault& fault) { searchOnce(scenario, target, draw, fault); });
    eventsUnwatched = false;
}

// The strong tests of a search make ten thousands of calls, nearly all of three
// functions: of all calls one in so many fails, and the first ones of each function.
constexpr int strongTestStep = 101;

void failInSearches(int bits, bool safe)
{
    const int givenStep = faultStep;
    if (hasStrongTest({bits, safe, true}))
        faultStep = std::max(faultStep, strongTestStep);
    const auto seed = static_cast<std::uint32_t>(bits);
    const Target drawn = targetDrawn(bits, safe, seed);
    const Target above = targetAbove(bits, safe, seed);
    failInSearch({bits, safe, false}, drawn);
    failInSearch({bits, safe, true}, above);
    if (safe)
        failInSearch({bits, safe, true, true}, above);
    // Stopped at the first candidate, in the first test, later on.
    if (bits == 64 || bits == 264)
        for (const int event : {1, 2, 3, 4})
            failInSearch({bits, safe, true, false, event}, above);
    faultStep = givenStep;
}

// A worker that searches 64 bits. The first release of its semaphore stops it.
OneWayFlag stopFlag{0};

void failInWorker(bool safe)
{
    iterations = 3;
    constexpr int bits = 64;
    const Target target = targetAbove(bits, safe, 1);
    // One window of 2^64 - 312 leads from here to the start, in the low 64 bits.
    const std::string below = oracle::sum(target.start, 312);
    failEachCall(safe ? "safe worker" : "worker", [&](const Fault& fault) {
        TrackedLock lock;
        const BigNumber base = fromHex(below);
        const OwnedCallback callback = makeCallback(callBack2, &stopFlag);
        stopFlag = 0;
        drawAnything();
        forgetSecrets();
        noPrompt = 1;
        setBase(lock, base.get(), bits);
        for (const std::string& secret : target.primes)
            addSecretNumber(fromHex(secret).get());
        const LiveBlocks before = liveBlocks();

        watchForSecrets(true);
        armFault(fault);
        const std::int32_t ended =
            searchWorker(lock, callback.get(), L"x", safe ? modeSafe : 0);
        disarmFault();
        watchForSecrets(false);
        const LiveBlocks after = liveBlocks();
        const BigNumber published(resultPrime.exchange(nullptr));
        sharedBase = nullptr;

        tally.expect(lock.depth == 0, "lock held");
        tally.expect(ended == 0 || ended == -1, "returned " + std::to_string(ended));
        const bool noContext = struckIn("BN_CTX_new");
        const bool noWindow = noContext || struckIn("BN_dup");
        tally.expect(!noContext || ended == -1, "went on without a context");
        if (ended == -1) {
            tally.expect(faultReport->struck && stopFlag == 0 && !published, "gave up");
            tally.expect(noWindow || fault.kind == FaultKind::libraryMemory, "gave up");
        } else {
            tally.expect(stopFlag == 1, "ended before the stop");
            const std::string prime = published ? toHex(published.get()) : "";
            tally.expect(published ? isPrime(prime, safe) && bitsOf(prime) == bits
                                   : faultReport->struck.load(),
                         "published " + prime);
        }
        // A window whose context cannot be had is left to the process's end: a
        // number and its digits.
        const long left = after.crypto - before.crypto - (published ? 2 : 0);
        const bool mayLeave = ended == -1 && !struckIn("BN_dup");
        tally.expect(left == 2 ? mayLeave : left == 0 && !noContext,
                     "worker leaves blocks");
        blocksLeft.crypto = left;
    });
}

// For both kinds of primes.
void failForEach(const std::function<void(bool safe)>& fail)
{
    fail(false);
    fail(true);
}

void failInShortSearches(bool safe)
{
    for (const int bits : {16, 64, 128, 256, 264})
        failInSearches(bits, safe);
}

// With strong tests, by each way: each has calls of its own.
void failInLongSearches(bool safe)
{
    for (const auto& [way, name] :
         {std::pair{ExponentiationWay::slidingWindow, "sliding window"},
          std::pair{ExponentiationWay::constantTime, "constant time"},
          std::pair{ExponentiationWay::twoAtOnce, "two at once"},
          std::pair{ExponentiationWay::squarings, "squarings"}}) {
        fakeWay = way;
        std::printf("by %s\n", name);
        failInSearches(512, safe);
    }
    fakeWay = ExponentiationWay::slidingWindow;
}

const std::map<std::string, std::function<void()>> parts{
    {"front_end", failInFrontEnd},
    {"engine", failInEngine},
    {"workers",
     [] {
         failForEach(failInWorker);
     }},
    {"searches",
     [] {
         failForEach(failInShortSearches);
     }},
    {"long_searches",
     [] {
         failForEach(failInLongSearches);
     }},
};

// Each that can fail did. The driver alone makes a callback: whole runs fail that.
void checkAllFailed()
{
    tally.where = "coverage";
    for (const ListedFunction& function : cryptoFunctions())
        if (function.canFail && std::string(function.name) != "BN_GENCB_new")
            tally.expect(tally.struckIn(function.name),
                         std::string(function.name) + " never failed");
}

void failEverything()
{
    checkListed(cryptoFunctions(), "libcrypto", "OPENSSL_", tally);
    for (const auto& [name, part] : parts)
        part();
    checkAllFailed();
}

} // namespace

// What the workers' semaphore does here.
struct SemaphoreObject {
};
namespace
{
SemaphoreObject theOnlySemaphore;
}
SemaphoreHandle openNamedSemaphore(const wchar_t* /*name*/)
{
    return &theOnlySemaphore;
}
bool releaseSemaphore(SemaphoreHandle /*semaphore*/)
{
    stopFlag = 1;
    return true;
}
void closeSemaphore(SemaphoreHandle /*semaphore*/) {}

// The linker sends the engine's question for the number of iterations here.
int chosenIterations(int bits) __asm__("__wrap__Z13iterationsFori");
int chosenIterations(int /*bits*/)
{
    return iterations;
}

int main(int argc, char** argv)
{
    if (argc > 1)
        faultStep = std::max(1, static_cast<int>(std::strtol(argv[1], nullptr, 10)));
    const auto part = argc > 2 ? parts.find(argv[2]) : parts.end();
    if (argc > 2 && part == parts.end()) {
        std::fprintf(stderr, "no part %s\n", argv[2]);
        return 2;
    }
    settleLibraryMemory();
    checkWatch();
    if (part == parts.end())
        failEverything();
    else
        part->second();
    return tally.finish("searches", kindsOfFault);
}
