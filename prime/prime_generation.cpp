#include "prime/prime_generation.h"

#include "prime/events.h"
#include "prime/miller_rabin.h"
#include "prime/rejection.h"
#include "prime/search_sieve.h"

#include <memory>
#include <new>

namespace
{

enum class Verdict { accepted, rejected, failed };

Verdict toVerdict(int isPrimeResult)
{
    if (isPrimeResult == -1)
        return Verdict::failed;
    return isPrimeResult ? Verdict::accepted : Verdict::rejected;
}

Verdict testSafe(const BIGNUM* candidate, BIGNUM* half, int checks, int number,
                 GenCallback* callback, BN_CTX* context)
{
    if (!BN_rshift1(half, candidate))
        return Verdict::failed;
    // docs/fixed-behaviour.md: alternating-test
    IterationAhead ahead;
    for (int i = 0; i < checks; ++i) {
        ahead.wanted = checks - i;
        Verdict verdict = toVerdict(isPrimeInTurn(candidate, context, callback, ahead));
        if (verdict == Verdict::accepted)
            verdict = toVerdict(isPrime(half, 1, context, 0, callback));
        if (verdict != Verdict::accepted)
            return verdict;
        if (!BN_GENCB_call(callback, turnEvent, number))
            return Verdict::failed;
    }
    return Verdict::accepted;
}

// 7, of three bits, is the smallest safe prime that is searched for; four and five
// bits are refused. docs/fixed-behaviour.md: safe-sizes
bool existsWith(int bits, bool safe)
{
    return safe ? bits == 3 || bits >= 6 : bits >= 2;
}

} // namespace

// docs/fixed-behaviour.md: ignored-arguments
int generatePrime(BIGNUM* candidate, int /*ignoredBits*/, int mode,
                  const BIGNUM* /*ignoredAdd*/, const BIGNUM* /*ignoredRemainder*/,
                  GenCallback* callback, BN_CTX* context)
{
    const int bits = baseBits;
    const bool safe = (mode & modeSafe) != 0;
    if (!existsWith(bits, safe))
        return 0;
    const int checks = iterationsFor(bits);

    // The sieve overwrites the entries that it uses: one table serves them all.
    // docs/fixed-behaviour.md: residues-unwiped
    const std::unique_ptr<std::uint16_t[]> residues(new (std::nothrow)
                                                        std::uint16_t[smallPrimeCount]());
    if (!residues)
        return 0;
    const ContextFrame frame(context);
    BIGNUM* half = BN_CTX_get(context);
    if (!half)
        return 0;

    SearchSieve sieve = makeSearchSieve(bits, planSieve(bits, mode));
    Rejection rejection = makeRejection(sieve);
    for (int counter = 0;; ++counter) {
        if (!nextSievedCandidate(sieve, candidate, mode, residues.get(), context))
            return 0;
        if (!BN_GENCB_call(callback, candidateEvent, counter))
            return 0;
        // A known factor, or a strong test, stands in for the test that would find it
        // composite. A test whose witnesses repeat might not.
        sieveSlice(sieve);
        if (knowsFactor(sieve) || isProvenComposite(rejection, sieve, candidate, context))
            continue;
        if (sieve.plan.halves &&
            isHalfProvenComposite(rejection, sieve, candidate, half, context))
            continue;
        const Verdict verdict =
            safe ? testSafe(candidate, half, checks, counter, callback, context)
                 : toVerdict(isPrime(candidate, checks, context, 0, callback));
        if (verdict != Verdict::rejected)
            return verdict == Verdict::accepted;
    }
}
