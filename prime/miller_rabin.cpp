#include "prime/miller_rabin.h"

#include "prime/events.h"
#include "prime/exponentiation_way.h"
#include "prime/random_below.h"

#include <array>

namespace
{

// The test's big numbers. The first is taken and not used.
// docs/fixed-behaviour.md: spare-number
struct Temporaries {
    explicit Temporaries(BN_CTX* context)
        : numbers(context)
    {
    }
    BIGNUM* w1() const
    {
        return numbers[1];
    }
    BIGNUM* w3() const
    {
        return numbers[2];
    }
    BIGNUM* x() const
    {
        return numbers[3];
    }
    BIGNUM* m() const
    {
        return numbers[4];
    }
    BIGNUM* z() const
    {
        return numbers[5];
    }
    BIGNUM* witness() const
    {
        return numbers[6];
    }

    LentNumbers<7> numbers;
};

// One number under test: w - 1 = 2^a * m with m odd, and the Montgomery form
// that all its exponentiations share.
struct Subject {
    const BIGNUM* w;
    int a;
    BN_MONT_CTX* montgomery;
    BN_CTX* context;
};

enum class Iteration { passed, composite, failed };

// z = z^2 mod w, by way of x.
bool squareResidue(const Subject& subject, const Temporaries& t)
{
    return BN_copy(t.x(), t.z()) &&
           BN_mod_mul(t.z(), t.x(), t.x(), subject.w, subject.context);
}

// Draws a witness b with 2 <= b <= w - 2.
bool drawWitness(BIGNUM* witness, const Temporaries& t)
{
    return getRandomBelow(witness, t.w3()) && BN_add_word(witness, 2);
}

// Looks for a proof that w is composite in z = b^m, in b^2m, ... b^(2^(a-1)m).
Iteration judge(const Subject& subject, const Temporaries& t)
{
    if (BN_is_one(t.z()) || BN_cmp(t.z(), t.w1()) == 0)
        return Iteration::passed;

    for (int j = 1; j < subject.a; ++j) {
        if (!squareResidue(subject, t))
            return Iteration::failed;
        if (BN_cmp(t.z(), t.w1()) == 0)
            return Iteration::passed;
        if (BN_is_one(t.z()))
            return Iteration::composite;
    }
    // The value of b^(w-1) is not needed. The squaring is made only because its failure
    // must give a failure instead of a verdict.
    // docs/fixed-behaviour.md: last-squaring
    return squareResidue(subject, t) ? Iteration::composite : Iteration::failed;
}

// The iteration of the witness drawn.
Iteration runIteration(const Subject& subject, const Temporaries& t)
{
    const auto exponentiate =
        singleWay(BN_num_bits(subject.w), false) == ExponentiationWay::constantTime
            ? BN_mod_exp_mont_consttime
            : BN_mod_exp_mont;
    if (!exponentiate(t.z(), t.witness(), t.m(), subject.w, subject.context,
                      subject.montgomery))
        return Iteration::failed;
    return judge(subject, t);
}

// The second witness of an iteration, and its power.
struct SecondWitness {
    explicit SecondWitness(BN_CTX* context)
        : numbers(context)
    {
    }
    BIGNUM* witness() const
    {
        return numbers[0];
    }
    BIGNUM* z() const
    {
        return numbers[1];
    }

    LentNumbers<2> numbers;
};

// One or two iterations in turn.
struct Iterations {
    int count = 0;
    std::array<Iteration, 2> results{};
};

// The iteration of the witness drawn, and one of a second witness if the first passes.
Iterations runTwoIterations(const Subject& subject, const Temporaries& t,
                            const SecondWitness& second)
{
    Iterations iterations{1, {Iteration::failed, Iteration::failed}};
    auto& [first, next] = iterations.results;
    const bool drawn = drawWitness(second.witness(), t);
    if (!drawn)
        first = runIteration(subject, t);
    else if (BN_mod_exp_mont_consttime_x2(
                 t.z(), t.witness(), t.m(), subject.w, subject.montgomery, second.z(),
                 second.witness(), t.m(), subject.w, subject.montgomery, subject.context))
        first = judge(subject, t);
    if (first == Iteration::passed) {
        iterations.count = 2;
        if (drawn && BN_copy(t.z(), second.z()))
            next = judge(subject, t);
    }
    return iterations;
}

// Runs the next iteration, and the one after it where `wanted` is 2 or more and two at
// once are the fastest.
Iterations runIterations(const Subject& subject, const Temporaries& t, int wanted)
{
    if (!drawWitness(t.witness(), t))
        return {1, {Iteration::failed}};
    if (wanted >= 2 &&
        witnessWay(BN_num_bits(subject.w)) == ExponentiationWay::twoAtOnce) {
        const SecondWitness second(subject.context);
        if (second.numbers.complete())
            return runTwoIterations(subject, t, second);
    }
    return {1, {runIteration(subject, t)}};
}

// What millerRabin does; with `ahead` for one iteration, and perhaps the one after it.
int testWith(const BIGNUM* w, int checks, BN_CTX* context, GenCallback* callback,
             PrimeTestStatus* status, IterationAhead* ahead)
{
    if (!BN_is_odd(w))
        return 0;
    const Temporaries t(context);
    if (!t.numbers.complete())
        return 0;
    if (!BN_copy(t.w1(), w) || !BN_sub_word(t.w1(), 1) || !BN_copy(t.w3(), w) ||
        !BN_sub_word(t.w3(), 3))
        return 0;
    if (BN_is_zero(t.w3()) || BN_is_negative(t.w3()))
        return 0;

    int a = 1;
    while (!BN_is_bit_set(t.w1(), a))
        ++a;
    if (!BN_rshift(t.m(), t.w1(), a))
        return 0;
    const Montgomery montgomery(BN_MONT_CTX_new());
    if (!montgomery || !BN_MONT_CTX_set(montgomery.get(), w, context))
        return 0;
    const Subject subject{w, a, montgomery.get(), context};

    // docs/fixed-behaviour.md: negative-checks
    if (checks == 0)
        checks = iterationsFor(BN_num_bits(w));
    for (int i = 0; i < checks;) {
        const Iterations iterations =
            runIterations(subject, t, ahead ? ahead->wanted : checks - i);
        for (int k = 0; k < iterations.count; ++k, ++i) {
            const Iteration iteration = iterations.results[static_cast<std::size_t>(k)];
            if (i >= checks) {
                ahead->known = true;
                ahead->passed = iteration == Iteration::passed;
                break;
            }
            if (iteration == Iteration::failed)
                return 0;
            if (iteration == Iteration::composite) {
                *status = primeTestComposite;
                return 1;
            }
            if (!BN_GENCB_call(callback, iterationEvent, i))
                return 0;
        }
    }
    *status = primeTestProbablePrime;
    return 1;
}

} // namespace

int iterationsFor(int bits)
{
    // docs/fixed-behaviour.md: iterations
    return bits <= 2048 ? 64 : 128;
}

// docs/fixed-behaviour.md: ignored-arguments
int isPrime(const BIGNUM* w, int checks, BN_CTX* context, int /*flag*/,
            GenCallback* callback)
{
    if (BN_cmp(w, BN_value_one()) <= 0)
        return 0;
    if (!BN_is_odd(w))
        return BN_is_word(w, 2);
    if (BN_is_word(w, 3))
        return 1;

    Context ownContext;
    if (!context) {
        ownContext.reset(BN_CTX_new());
        if (!ownContext)
            return -1;
        context = ownContext.get();
    }
    PrimeTestStatus status = primeTestComposite;
    // docs/fixed-behaviour.md: refused-iteration
    if (!millerRabin(w, checks, context, callback, &status))
        return 0;
    return status == primeTestProbablePrime;
}

int isPrimeInTurn(const BIGNUM* w, BN_CTX* context, GenCallback* callback,
                  IterationAhead& ahead)
{
    if (ahead.known) {
        ahead.known = false;
        return ahead.passed && BN_GENCB_call(callback, iterationEvent, 0) ? 1 : 0;
    }
    PrimeTestStatus status = primeTestComposite;
    // docs/fixed-behaviour.md: refused-iteration
    if (!testWith(w, 1, context, callback, &status, &ahead))
        return 0;
    return status == primeTestProbablePrime;
}

int millerRabin(const BIGNUM* w, int checks, BN_CTX* context, GenCallback* callback,
                PrimeTestStatus* status)
{
    return testWith(w, checks, context, callback, status, nullptr);
}
