#include "tests/faults/pieces.h"

#include "prime/candidate_sieve.h"
#include "prime/miller_rabin.h"
#include "prime/search_sieve.h"
#include "prime/word_residues.h"
#include "tests/fakes/random_bytes.h"
#include "tests/faults/each_call.h"
#include "tests/support/big.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <openssl/crypto.h>
#include <utility>

namespace
{

// The primality test

// Of 190 bits: the library's own divisions shift them. So what holds their digits after
// a test is a temporary of the test itself.
struct TestedNumber {
    const char* name;
    const char* digits;
    bool prime;
};
constexpr TestedNumber testedNumbers[] = {
    {"test without squarings", "31A5ED00C0FFEE11'5EC2E7DEADBEEF77'0123456789ABCF83",
     true},
    {"test with squarings", "31A5ED00C0FFEE11'5EC2E7DEADBEEF77'0123456789ABCFE9", true},
    {"test of a composite", "31A5ED00C0FFEE11'5EC2E7DEADBEEF77'0123456789ABCF3F", false}};

enum class Halt { never, refused, noDraw };

constexpr int checks = 2;

// What the callback of a test sees.
struct TestTrace {
    bool refuses = false;
    int events = 0;
    long held = 0; // blocks of the library with something secret
};

int traceTest(int /*event*/, int /*value*/, GenCallback* callback)
{
    const HarnessScope harness;
    auto& trace = *static_cast<TestTrace*>(BN_GENCB_get_arg(callback));
    ++trace.events;
    trace.held = secretCryptoBlocks();
    return trace.refuses ? 0 : 1;
}

void drawFor(Halt halt)
{
    drawAnything();
    if (halt == Halt::noDraw)
        fakeRandomBytes = [draw = fakeRandomBytes, left = 1](std::uint8_t* buffer,
                                                             std::int32_t count) mutable {
            return left-- > 0 ? draw(buffer, count) : 0;
        };
}

// The test with a context that serves again, whatever failed.
void expectStatus(const TestedNumber& tested, const BIGNUM* number, bool decided,
                  GenCallback* callback, const Fault& fault)
{
    constexpr PrimeTestStatus unwritten = 77;
    const PrimeTestStatus verdict =
        tested.prime ? primeTestProbablePrime : primeTestComposite;
    const Context context(BN_CTX_new());
    PrimeTestStatus status = unwritten;
    armFault(fault);
    const int returned = millerRabin(number, checks, context.get(), callback, &status);
    disarmFault();
    if (faultReport->struck)
        decided = false;
    tally.expect(returned == (decided ? 1 : 0), "returned " + std::to_string(returned));
    tally.expect(status == (decided ? verdict : unwritten),
                 "status " + std::to_string(status));
    // A call of the library that runs out of memory half way leaves its own temporaries.
    tally.expect(secretCryptoBlocks() == 1 ||
                     (fault.kind == FaultKind::libraryMemory && faultReport->struck),
                 "digits left in the context");

    drawAnything();
    const bool again = millerRabin(number, checks, context.get(), nullptr, &status) == 1;
    tally.expect(again && status == verdict, "the context does not serve again");
}

// The test with a context of its own, which may be missing.
void expectResult(const TestedNumber& tested, const BIGNUM* number, bool decided,
                  GenCallback* callback, const Fault& fault)
{
    const auto& trace = *static_cast<TestTrace*>(BN_GENCB_get_arg(callback));
    armFault(fault);
    const int returned = isPrime(number, checks, nullptr, 0, callback);
    disarmFault();
    const bool memory = fault.kind == FaultKind::libraryMemory && faultReport->struck;
    const std::string text = "returned " + std::to_string(returned);
    if (struckIn("BN_CTX_new") || (memory && fault.number == 1))
        tally.expect(returned == -1 && trace.events == 0, text);
    else if (faultReport->struck)
        tally.expect(returned == 0 || (memory && returned == -1), text);
    else
        tally.expect(returned == (decided && tested.prime ? 1 : 0), text);
}

void failInTest(const TestedNumber& tested, Halt halt, bool lent)
{
    failEachCall(tested.name, [&](const Fault& fault) {
        const BigNumber number = fromHex(tested.digits);
        forgetSecrets();
        addSecretNumber(number.get());
        TestTrace trace{halt == Halt::refused};
        const OwnedCallback callback = makeCallback(traceTest, &trace);
        drawFor(halt);
        watchForSecrets(true);
        // A composite is told before anything halts.
        const bool decided = halt == Halt::never || !tested.prime;
        (lent ? expectStatus : expectResult)(tested, number.get(), decided,
                                             callback.get(), fault);
        watchForSecrets(false);
        // The number, what lies one and three below it, its odd part and the witness.
        tally.expect(trace.events == 0 || trace.held >= 5, "digits not seen");
        tally.expect(secretCryptoBlocks() == 1, "digits left");
        drawAnything(); // without the memory that halting takes
    });
}

// What is told without a test needs no memory.
void testWithoutMemory()
{
    const std::pair<const char*, int> numbers[] = {{"-5", 0}, {"0", 0}, {"1", 0},
                                                   {"2", 1},  {"3", 1}, {"4", 0}};
    for (const auto& [digits, prime] : numbers) {
        tally.where = std::string("test of ") + digits;
        const BigNumber number = fromHex(digits);
        armFault({FaultKind::libraryMemory, {}, 1});
        const int returned = isPrime(number.get(), 1, nullptr, 0, nullptr);
        disarmFault();
        tally.expect(returned == prime, "returned " + std::to_string(returned));
        tally.expect(faultReport->met == 0, "memory asked for");
    }
}

// The sieve of a search

constexpr int sieveBits = 264;
constexpr int sieveSteps = 12;

struct SieveCase {
    bool safe;
    std::string base;
    std::array<std::string, sieveSteps> candidates;
    std::array<bool, sieveSteps> prime;
};

// Sieves with the fault. What it yields are the candidates, and it knows factors of none
// but composites.
void sieveOnce(const SieveCase& expected, const Fault& fault)
{
    const int mode = modeFromBase | (expected.safe ? modeSafe : 0);
    const BigNumber candidate = fromHex(expected.base);
    const Context context(BN_CTX_new());
    std::array<std::uint16_t, smallPrimeCount> residues{};
    int yielded = 0;
    int known = 0;
    {
        armFault(fault);
        SearchSieve sieve = makeSearchSieve(sieveBits, planSieve(sieveBits, mode));
        tally.expect((sieve.plan.reach == 0) == faultReport->struck, "idle");
        expectWiped(sieve.smallNext.get());
        expectWiped(sieve.words.get());
        expectWiped(sieve.indices.get());
        expectWiped(sieve.rejected.crossed.get());
        expectWiped(sieve.composite.crossed.get());
        while (yielded < sieveSteps &&
               nextSievedCandidate(sieve, candidate.get(), mode, residues.data(),
                                   context.get()) == 1) {
            sieveSlice(sieve);
            const HarnessScope harness;
            const auto i = static_cast<std::size_t>(yielded++);
            tally.expect(toHex(candidate.get()) == expected.candidates[i], "candidate");
            if (!knowsFactor(sieve))
                continue;
            ++known;
            tally.expect(!expected.prime[i], "a factor of a prime");
        }
        disarmFault();
    }
    tally.expect(yielded == sieveSteps || faultReport->struck, "no candidate");
    tally.expect(known > 0 || faultReport->struck, "no factor known");
}

void failInSieve(bool safe)
{
    const oracle::Search search{sieveBits, safe};
    SieveCase expected{safe, oracle::randomNumber(sieveBits, 8), {}, {}};
    std::string lower = expected.base;
    for (std::size_t i = 0; i < sieveSteps; ++i) {
        lower = expected.candidates[i] = oracle::nextCandidate(lower, search);
        expected.prime[i] = isPrime(lower, safe);
    }
    // The primes that it sieves with are made once for the process, and now.
    sieveOnce(expected, {});
    failEachCall(safe ? "safe sieve" : "sieve",
                 [&](const Fault& fault) { sieveOnce(expected, fault); });
}

// Residues

void failInResidues()
{
    const BigNumber number = fromHex(oracle::randomNumber(512, 3));
    // The library makes no copy of the number, which it would not wipe.
    failEachCall("residues of small primes", [&](const Fault& fault) {
        std::array<std::uint16_t, smallPrimeCount> residues{};
        armFault(fault);
        const bool computed = computeWordResidues<std::uint16_t>(
            number.get(), smallPrimes, residues.data());
        disarmFault();
        tally.expect(computed == !faultReport->struck, computed ? "computed" : "failed");
        tally.expect(fault.kind == FaultKind::libraryCall || faultReport->met == 0,
                     "memory asked for");
    });
}

// The watch

void checkWatchForBytes()
{
    tally.where = "memory watch";
    forgetSecrets();
    const Bytes secret = bigEndian("D1A3'57C2'9E84'6BF0'1D35'A7E9'C24B'8F60'3759");
    addSecret(secret);
    watchForSecrets(true);
    const long before = secretCryptoBlocks();
    auto* block = static_cast<std::uint8_t*>(OPENSSL_malloc(64));
    std::fill_n(block, 64, std::uint8_t{0});
    std::copy_n(secret.data() + 5, 8, block + 3);
    tally.expect(secretCryptoBlocks() == before + 1, "secret in a block held");
    OPENSSL_free(block);
    OPENSSL_free(block);
    watchForSecrets(false);
    const MemoryErrors errors = takeMemoryErrors();
    tally.expect(errors.secretFrees == 1 && errors.secretBlockSize == 64, "secret");
    tally.expect(errors.foreignFrees == 1, "second release");
}

void checkWatchForWipes()
{
    tally.where = "memory watch, wiped blocks";
    for (const bool wiped : {false, true}) {
        auto* block = static_cast<std::uint8_t*>(::operator new(16));
        block[3] = wiped ? 0 : 1;
        expectWiped(block);
        ::operator delete(block);
        tally.expect(takeMemoryErrors().secretFrees == (wiped ? 0 : 1), "wiped");
    }
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

// Whether the watch sees the tables of a sieve that stand in the primes' order.
void checkWatchForResidues(int bits, bool safe)
{
    tally.where = "memory watch, sieve of " + std::to_string(bits) + " bits";
    const int mode = modeFromBase | (safe ? modeSafe : 0);
    const Context context(BN_CTX_new());
    const BigNumber candidate = fromHex(oracle::randomNumber(bits, 1));
    std::array<std::uint16_t, smallPrimeCount> residues{};
    SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, mode));
    forgetSecrets();
    nextSievedCandidate(sieve, candidate.get(), mode, residues.data(), context.get());
    addStart(sieve.start.get());
    sieveSlice(sieve);

    std::vector<std::uint32_t> table(sieve.plan.smallCount);
    const std::size_t size = table.size() * sizeof table[0];
    std::copy_n(sieve.smallNext.get(), table.size(), table.begin());
    tally.expect(isNoticed(table.data(), size), "places");
    for (std::uint32_t& place : table)
        place = 1000003;
    tally.expect(!isNoticed(table.data(), size), "places that tell nothing");
    for (const Segment* segment : {&sieve.rejected, &sieve.composite})
        tally.expect(isNoticed(segment->crossed.get(), segment->length / 8), "segment");

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

void checkWatch()
{
    checkWatchForBytes();
    checkWatchForWipes();
    for (const int bits : {256, 264, 512})
        for (const bool safe : {false, true})
            checkWatchForResidues(bits, safe);
}

void failInEngine()
{
    for (const TestedNumber& tested : testedNumbers)
        for (const Halt halt : {Halt::never, Halt::refused, Halt::noDraw})
            for (const bool lent : {false, true})
                failInTest(tested, halt, lent);
    testWithoutMemory();
    for (const bool safe : {false, true})
        failInSieve(safe);
    failInResidues();
}
