// Searches, base input, result output and workers inside this process, with every
// call of libcrypto, every allocation of libcrypto and every own allocation failing
// once: each in a run of its own, until a run meets no fault.
//
//   norv_search_faults [STEP]   behind the first calls every STEP-th only, in slow builds
#include "app/base_input.h"
#include "app/result_output.h"
#include "platform/named_semaphore.h"
#include "prime/base_bits.h"
#include "prime/events.h"
#include "prime/miller_rabin.h"
#include "prime/prime_generation.h"
#include "prime/search_sieve.h"
#include "prime/shortcuts.h"
#include "search/generation_callback.h"
#include "search/search_state.h"
#include "search/search_worker.h"
#include "search/settings.h"
#include "search/stop_flag.h"
#include "tests/fakes/random_bytes.h"
#include "tests/faults/crypto_calls.h"
#include "tests/faults/fault.h"
#include "tests/faults/imports.h"
#include "tests/faults/memory.h"
#include "tests/faults/tally.h"
#include "tests/support/big.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <openssl/crypto.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

Tally tally;

// Iterations of every test: what a search really takes, or fewer.
int iterations = 64;

// From the number of a call that failed to the next, behind the first calls.
constexpr int firstCalls = 10;
int faultStep = 1;

// Blocks of the library that the run at hand leaves behind on purpose.
long blocksLeft = 0;

constexpr FaultKind kinds[] = {FaultKind::libraryCall, FaultKind::libraryMemory,
                               FaultKind::ownMemory};

// Runs `run` with each fault of each kind, until it meets none.
void failEachCall(const std::string& name, const std::function<void(const Fault&)>& run)
{
    for (const FaultKind kind : kinds)
        for (const bool late : {false, true}) {
            if (late && kind != FaultKind::libraryCall)
                continue;
            for (int number = 1;; number += number < firstCalls ? 1 : faultStep) {
                const Fault fault{kind, {}, number, 0, late};
                tally.where = name + ", " + inWords(fault);
                LiveBlocks before = liveBlocks();
                blocksLeft = 0;
                run(fault);
                before.crypto += blocksLeft;
                tally.expect(liveBlocks() == before, "blocks left");
                tally.count(fault, *faultReport);
                const MemoryErrors errors = takeMemoryErrors();
                tally.expect(errors.foreignFrees == 0, "a block given back twice");
                tally.expect(errors.secretFrees == 0,
                             "something secret in a freed block of " +
                                 std::to_string(errors.secretBlockSize));
                if (!faultReport->struck)
                    break;
            }
        }
}

bool struckIn(const char* function)
{
    return faultReport->struck && std::string(faultReport->function) == function;
}

// Secret numbers

using Bytes = std::vector<std::uint8_t>;

Bytes bigEndian(const std::string& digits)
{
    const BigNumber number = fromHex(digits);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(number.get())));
    BN_bn2bin(number.get(), bytes.data());
    return bytes;
}

void addSecretBothWays(std::span<std::uint8_t> bytes)
{
    addSecret(bytes);
    std::reverse(bytes.begin(), bytes.end());
    addSecret(bytes);
}

// The number as bytes and as words of the library, and so what is one below it and
// what is half of it: the test computes with these.
void addSecretNumber(const BIGNUM* number)
{
    std::array<std::uint8_t, 128> bytes{};
    const SecretNumber copy(BN_dup(number));
    for (int step = 0; step < 3; ++step) {
        const auto size = static_cast<std::size_t>(BN_num_bytes(copy.get()));
        if (size > bytes.size())
            return;
        BN_bn2bin(copy.get(), bytes.data());
        addSecretBothWays(std::span(bytes).first(size));
        if (step == 0)
            BN_sub_word(copy.get(), 1);
        else
            BN_rshift1(copy.get(), copy.get());
    }
}

// From the candidate that a search begins with, or starts over at, its sieve starts. No
// sieve is deep below 256 bits.
void addStart(const BIGNUM* candidate)
{
    std::array<std::uint8_t, 128> bytes{};
    const auto size = static_cast<std::size_t>(BN_num_bytes(candidate));
    if (size < 32 || size > bytes.size())
        return;
    BN_bn2bin(candidate, bytes.data());
    addSecretStart(std::span(bytes).first(size));
}

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

// The same after every restart: numbers without a pattern.
std::uint64_t drawState = 1;

void drawAnything()
{
    drawState = 1;
    fakeRandomBytes = [](std::uint8_t* buffer, std::int32_t count) {
        const HarnessScope harness;
        for (std::int32_t i = 0; i < count; ++i) {
            drawState = drawState * 6364136223846793005U + 1442695040888963407U;
            buffer[i] = static_cast<std::uint8_t>(drawState >> 56);
        }
        std::array<std::uint8_t, 128> copy{};
        const auto size = std::min(copy.size(), static_cast<std::size_t>(count));
        std::copy_n(buffer, size, copy.begin());
        addSecretBothWays(std::span(copy).first(size));
        return count;
    };
}

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
    bool shortcuts;
    bool unwatched;
    int refuseAt = 0;
};

std::string inWords(const Scenario& scenario)
{
    std::string words = std::to_string(scenario.bits) + " bits";
    words += scenario.safe ? ", safe" : ", plain";
    words += scenario.fromBase ? ", from the base" : ", from anywhere";
    words += scenario.shortcuts ? ", shortcuts" : ", no shortcuts";
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
Target targetAbove(const Scenario& scenario, std::uint32_t seed)
{
    const oracle::Search search{scenario.bits, scenario.safe};
    const std::string prime =
        oracle::firstPrime(oracle::randomNumber(scenario.bits, seed), search);
    std::string start = oracle::sum(prime, -4);
    int passed = 0;
    for (std::string lower = start; passed < 2; lower = oracle::sum(lower, -4)) {
        const std::string candidate = oracle::nextCandidate(lower, search);
        if (candidate == oracle::sum(lower, 4) && candidate != prime)
            ++passed;
        if (isPrime(candidate, scenario.safe) && candidate != prime)
            break;
        start = lower;
    }
    return {start, {prime, oracle::firstPrime(prime, search)}};
}

// A number which, drawn as a start, leads to the prime as the only candidate, and,
// drawn as a witness, lies in range: four and more below the prime.
Target targetDrawn(const Scenario& scenario, std::uint32_t seed)
{
    const oracle::Search search{scenario.bits, scenario.safe};
    for (;; ++seed) {
        const std::string random = oracle::randomNumber(scenario.bits, seed);
        if (random[0] < 'C') // the two top bits are forced
            continue;
        const std::string prime = oracle::firstPrime(random, search);
        const std::string start = oracle::sum(prime, -8);
        if (oracle::nextCandidate(oracle::sum(start, -4), search) == prime)
            return {start, {prime}};
    }
}

enum class Effect { ends, rejects, any };

// What a search makes of a failed call that has one place in it.
Effect effectOf(const Scenario& scenario, const Fault& fault)
{
    // The first is the table of residues.
    if (fault.kind == FaultKind::ownMemory && fault.number == 1)
        return Effect::ends;
    if (fault.kind != FaultKind::libraryCall)
        return Effect::any;
    for (const char* name : {"BN_MONT_CTX_new", "BN_MONT_CTX_set", "BN_mod_exp_mont",
                             "BN_mod_mul", "BN_rshift", "BN_sub", "BN_sub_word"})
        if (struckIn(name))
            return Effect::rejects;
    if (struckIn("BN_CTX_get"))
        return fault.number == 1 ? Effect::ends : Effect::any;
    if (struckIn("BN_bin2bn") && scenario.fromBase)
        return Effect::rejects;
    if (!scenario.shortcuts)
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
    tally.expect(effect != Effect::ends || found == 0,
                 std::string("went on after ") + faultReport->function);
    tally.expect(effect != Effect::rejects || found == 1,
                 std::string("ended after ") + faultReport->function);
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
    const OwnedCallback callback(BN_GENCB_new());
    BN_GENCB_set(callback.get(), record, &recorder);
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

void failInSearch(const Scenario& scenario)
{
    iterations = scenario.bits <= 16 && !scenario.safe ? 64 : 3;
    baseBits = scenario.bits;
    shortcutsEnabled = scenario.shortcuts;
    eventsUnwatched = scenario.unwatched;
    const auto seed = static_cast<std::uint32_t>(scenario.bits);
    const Target target =
        scenario.fromBase ? targetAbove(scenario, seed) : targetDrawn(scenario, seed);
    const Bytes draw = bigEndian(target.start);
    // What is made once for the process is made now.
    searchOnce(scenario, target, draw, {});
    failEachCall(inWords(scenario),
                 [&](const Fault& fault) { searchOnce(scenario, target, draw, fault); });
    shortcutsEnabled = true;
    eventsUnwatched = false;
}

void failInSearches(bool safe)
{
    for (const int bits : {16, 64, 128, 256, 264, 512}) {
        for (const bool shortcuts : {false, true}) {
            failInSearch({bits, safe, false, shortcuts, false});
            failInSearch({bits, safe, true, shortcuts, false});
        }
        if (safe)
            failInSearch({bits, safe, true, true, true});
    }
    // Stopped at the first candidate, in the first test, later on.
    for (const int bits : {64, 264})
        for (const int event : {1, 2, 3, 4})
            failInSearch({bits, safe, true, true, false, event});
}

// The front end's pieces and the shared state

const char* const longBase =
    "D1A3'57C2'9E84'6BF0'1D35'A7E9'C24B'8F60'3759'E1AD'C68B'204F";
constexpr int longBaseBits = 192;

void failInBaseInput(bool endsEarly)
{
    const Bytes bytes = bigEndian(longBase);
    std::string text;
    for (const std::uint8_t byte : bytes) {
        constexpr char digits[] = "0123456789abcdef";
        text += {digits[byte >> 4], digits[byte & 15], ' '};
    }
    const auto fail = [&](const Fault& fault) {
        forgetSecrets();
        // The last byte stays, and so may what eight bytes have in common with it.
        addSecret(std::span(bytes).first(bytes.size() - 1));
        addSecret({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(
            fmemopen(text.data(), text.size() - (endsEarly ? 3 : 0), "r"), std::fclose);
        SecretNumber base;
        bool thrown = false;
        watchForSecrets(true);
        armFault(fault);
        try {
            base.reset(readBaseFromStream(longBaseBits, stream.get()));
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        disarmFault();
        tally.expect(thrown == struckIn("new"), "bad_alloc");
        tally.expect((base != nullptr) == (!faultReport->struck && !endsEarly), "base");
        if (base)
            tally.expect(BN_cmp(base.get(), fromHex(longBase).get()) == 0, "other base");
        base.reset();
        watchForSecrets(false);
    };
    failEachCall(endsEarly ? "base input that ends early" : "base input", fail);
}

void failInResultOutput()
{
    const BigNumber prime = fromHex(longBase);
    std::string expected = "Result:";
    for (const std::uint8_t byte : bigEndian(longBase)) {
        constexpr char digits[] = "0123456789ABCDEF";
        expected += {digits[byte >> 4], digits[byte & 15], ' '};
    }
    resultPrime = prime.get();
    noPrompt = 0;
    LiveBlocks kept{};
    const auto fail = [&](const Fault& fault) {
        std::array<char, 256> output{};
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(
            fmemopen(output.data(), output.size(), "w"), std::fclose);
        const LiveBlocks before = liveBlocks();
        std::int32_t written = -1;
        armFault(fault);
        try {
            written = writeResult(stream.get());
        } catch (const std::bad_alloc&) {
            written = -2;
        }
        disarmFault();
        std::fflush(stream.get());
        if (struckIn("new")) {
            tally.expect(written == -2 && output[0] == '\0', "result in spite of fault");
            tally.expect(liveBlocks() == before, "blocks left");
        } else {
            tally.expect(written == longBaseBits / 8 * 3, "characters written");
            tally.expect(output.data() == expected, "text");
            kept = {liveBlocks().own - before.own, liveBlocks().crypto - before.crypto};
        }
    };
    for (const FaultKind kind : kinds)
        for (int number = 1;; ++number) {
            const Fault fault{kind, {}, number};
            tally.where = "result output, " + inWords(fault);
            fail(fault);
            tally.count(fault, *faultReport);
            if (!faultReport->struck)
                break;
        }
    // The text is left to the process's end, and it alone.
    tally.expect(kept == LiveBlocks{1, 0}, "blocks kept");
    resultPrime = nullptr;
}

void failInSharedState()
{
    failEachCall("shared state", [](const Fault& fault) {
        TrackedLock lock;
        const BigNumber base = fromHex(longBase);
        const BigNumber earlier = fromHex("7");
        resultPrime = earlier.get();
        armFault(fault);
        setBase(lock, base.get(), longBaseBits);
        const SecretNumber first(getNextBase(lock));
        const SecretNumber second(getNextBase(lock));
        setPrime(lock, base.get());
        disarmFault();
        const BigNumber published(resultPrime.exchange(nullptr));
        sharedBase = nullptr;

        tally.expect(baseBits == longBaseBits, "size");
        tally.expect(lock.depth == 0 && lock.holderName == nullptr, "lock held");
        const int copies = (first ? 1 : 0) + (second ? 1 : 0) + (published ? 1 : 0);
        // An advance that fails costs no copy; a copy that fails is null.
        const bool copyLost = faultReport->struck && !struckIn("BN_add_word");
        tally.expect(copies == (copyLost ? 2 : 3), std::to_string(copies) + " copies");
        if (published)
            tally.expect(BN_cmp(published.get(), base.get()) == 0, "other prime");
        if (!faultReport->struck)
            tally.expect(BN_cmp(first.get(), second.get()) < 0, "same window twice");
    });
}

// A worker that searches 64 bits. The first release of its semaphore stops it.
OneWayFlag stopFlag{0};

void failInWorker(bool safe)
{
    iterations = 3;
    constexpr int bits = 64;
    const Target target = targetAbove({bits, safe, true, true, false}, 1);
    // One window of 2^64 - 312 leads from here to the start, in the low 64 bits.
    const std::string below = oracle::sum(target.start, 312);
    failEachCall(safe ? "safe worker" : "worker", [&](const Fault& fault) {
        TrackedLock lock;
        const BigNumber base = fromHex(below);
        const OwnedCallback callback(BN_GENCB_new());
        stopFlag = 0;
        BN_GENCB_set(callback.get(), callBack2, &stopFlag);
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
        const bool noWindow = struckIn("BN_CTX_new") || struckIn("BN_dup");
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
        tally.expect(left == 0 || (mayLeave && left == 2), "worker leaves blocks");
        blocksLeft = left;
    });
}

// The list of calls

void checkImports()
{
    tally.where = "imports";
    std::set<std::string> wrapped;
    int failable = 0;
    for (const CryptoFunction& function : cryptoFunctions()) {
        wrapped.insert(function.name);
        failable += function.canFail ? 1 : 0;
    }
    const std::vector<std::string> imported = importsOf(NORV_PROGRAM, "OPENSSL_");
    checkListed(imported, wrapped, tally);
    std::cout << "libcrypto: " << imported.size() << " functions imported, "
              << wrapped.size() << " wrapped: " << failable << " can fail, "
              << wrapped.size() - static_cast<std::size_t>(failable) << " cannot\n";
}

// Each that can fail did. The driver alone makes a callback: whole runs fail that.
void checkAllFailed()
{
    tally.where = "coverage";
    for (const CryptoFunction& function : cryptoFunctions())
        if (function.canFail && std::string(function.name) != "BN_GENCB_new")
            tally.expect(tally.struckIn(function.name),
                         std::string(function.name) + " never failed");
}

// Whether the watch sees what it is there for.
void checkWatch()
{
    tally.where = "memory watch";
    forgetSecrets();
    Bytes secret = bigEndian(longBase);
    addSecret(secret);
    watchForSecrets(true);
    auto* block = static_cast<std::uint8_t*>(OPENSSL_malloc(64));
    std::fill_n(block, 64, std::uint8_t{0});
    std::copy_n(secret.data() + 5, 8, block + 3);
    OPENSSL_free(block);
    OPENSSL_free(block);
    watchForSecrets(false);
    const MemoryErrors errors = takeMemoryErrors();
    tally.expect(errors.secretFrees == 1 && errors.secretBlockSize == 64, "secret");
    tally.expect(errors.foreignFrees == 1, "second release");
}

// Whether a copy of these bytes is noticed when it is given back.
bool isNoticed(const void* bytes, std::size_t size)
{
    void* copy = ::operator new(size);
    std::memcpy(copy, bytes, size);
    watchForSecrets(true);
    ::operator delete(copy);
    watchForSecrets(false);
    return takeMemoryErrors().secretFrees == 1;
}

// The same of a number of the library.
bool isNoticed(BigNumber number)
{
    watchForSecrets(true);
    number.reset();
    watchForSecrets(false);
    return takeMemoryErrors().secretFrees == 1;
}

// Whether the watch sees each array of a sieve, and the table half way on.
void checkWatchForResidues(int bits, bool safe)
{
    tally.where = "memory watch, sieve of " + std::to_string(bits) + " bits";
    const int mode = modeFromBase | (safe ? modeSafe : 0);
    const Context context(BN_CTX_new());
    const BigNumber candidate = fromHex(oracle::randomNumber(bits, 1));
    std::array<std::uint16_t, smallPrimeCount> residues{};
    SearchSieve sieve = makeSearchSieve(bits, mode);
    forgetSecrets();
    nextSievedCandidate(sieve, candidate.get(), mode, residues.data(), context.get());
    addStart(sieve.start.get());
    sieveSlice(sieve, context.get());

    const std::size_t bitmap = sieve.windowLength / 8;
    std::vector<std::uint32_t> table(sieve.known);
    const std::size_t size = table.size() * sizeof table[0];
    std::copy_n(sieve.nextIndex.get(), table.size(), table.begin());
    tally.expect(isNoticed(table.data(), size), "places");
    std::fill_n(table.begin(), sieve.smallCount, 0U);
    tally.expect(isNoticed(table.data(), size), "places of the first slice");
    for (std::uint32_t& place : table)
        place = 1000003;
    tally.expect(!isNoticed(table.data(), size), "places that tell nothing");
    tally.expect(isNoticed(sieve.rejected.get(), bitmap), "rejected");
    tally.expect(isNoticed(sieve.composite.get(), bitmap), "composite");

    std::size_t i = 0;
    for (std::uint32_t& residue : table) {
        const BN_ULONG prime = smallPrimes[++i];
        residue = static_cast<std::uint32_t>(BN_mod_word(sieve.start.get(), prime));
    }
    tally.expect(isNoticed(table.data(), size), "residues");

    BigNumber product = fromHex("1");
    for (i = 100; i < 116; ++i)
        BN_mul_word(product.get(), smallPrimes[i]);
    BigNumber rest(BN_new());
    BN_mod(rest.get(), sieve.start.get(), product.get(), context.get());
    tally.expect(isNoticed(std::move(rest)), "rest of a division");
    tally.expect(!isNoticed(std::move(product)), "a number that tells nothing");
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
    settleLibraryMemory();
    checkWatch();
    for (const int bits : {256, 264, 512})
        for (const bool safe : {false, true})
            checkWatchForResidues(bits, safe);
    checkImports();
    failInBaseInput(false);
    failInBaseInput(true);
    failInResultOutput();
    failInSharedState();
    for (const bool safe : {false, true}) {
        failInWorker(safe);
        failInSearches(safe);
    }
    checkAllFailed();
    return tally.finish("searches", kinds);
}
