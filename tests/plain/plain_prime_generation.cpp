#include "tests/plain/plain_prime_generation.h"

#include "prime/base_bits.h"
#include "prime/candidate_sieve.h"
#include "prime/miller_rabin.h"
#include "prime/random_below.h"

#include <array>
#include <stdexcept>

namespace
{

enum class Verdict { accepted, rejected, failed };

void require(bool succeeded)
{
    if (!succeeded)
        throw std::runtime_error("a library call failed");
}

BigNumber difference(const BIGNUM* number, BN_ULONG word)
{
    BigNumber result(BN_dup(number));
    require(result && BN_sub_word(result.get(), word));
    return result;
}

// One iteration on w, odd and at least 5: whether a witness from getRandomBelow fails
// to prove it composite.
bool passesIteration(const BIGNUM* w, BN_CTX* context)
{
    const BigNumber w1 = difference(w, 1);
    const BigNumber w3 = difference(w, 3);
    const BigNumber m(BN_new());
    const BigNumber z(BN_new());
    const BigNumber witness(BN_new());
    require(m && z && witness);
    int a = 1;
    while (!BN_is_bit_set(w1.get(), a))
        ++a;
    require(BN_rshift(m.get(), w1.get(), a));
    if (!getRandomBelow(witness.get(), w3.get()))
        return false;
    require(BN_add_word(witness.get(), 2));
    require(BN_mod_exp_mont(z.get(), witness.get(), m.get(), w, context, nullptr));
    bool passed = BN_is_one(z.get()) || BN_cmp(z.get(), w1.get()) == 0;
    for (int j = 1; j < a && !passed; ++j) {
        require(BN_mod_sqr(z.get(), z.get(), w, context));
        passed = BN_cmp(z.get(), w1.get()) == 0;
    }
    return passed;
}

bool isPlainPrime(const BIGNUM* w, int checks, GenCallback* callback, BN_CTX* context)
{
    if (BN_cmp(w, BN_value_one()) <= 0)
        return false;
    if (!BN_is_odd(w))
        return BN_is_word(w, 2);
    if (BN_is_word(w, 3))
        return true;
    for (int i = 0; i < checks; ++i)
        if (!passesIteration(w, context) || !BN_GENCB_call(callback, 1, i))
            return false;
    return true;
}

Verdict test(const BIGNUM* candidate, int mode, int counter, GenCallback* callback,
             BN_CTX* context)
{
    const int checks = iterationsFor(baseBits);
    if ((mode & modeSafe) == 0)
        return isPlainPrime(candidate, checks, callback, context) ? Verdict::accepted
                                                                  : Verdict::rejected;
    const BigNumber half(BN_new());
    require(half && BN_rshift1(half.get(), candidate));
    for (int i = 0; i < checks; ++i) {
        if (!isPlainPrime(candidate, 1, callback, context) ||
            !isPlainPrime(half.get(), 1, callback, context))
            return Verdict::rejected;
        if (!BN_GENCB_call(callback, 2, counter))
            return Verdict::failed;
    }
    return Verdict::accepted;
}

} // namespace

int plainGeneratePrime(BIGNUM* candidate, int /*ignoredBits*/, int mode,
                       const BIGNUM* /*ignoredAdd*/, const BIGNUM* /*ignoredRemainder*/,
                       GenCallback* callback, BN_CTX* context)
{
    const bool safe = (mode & modeSafe) != 0;
    if (safe ? baseBits != 3 && baseBits < 6 : baseBits < 2)
        return 0;
    std::array<std::uint16_t, smallPrimeCount> residues{};
    for (int counter = 0;; ++counter) {
        if (!nextCandidate(candidate, baseBits, mode, residues.data(), context) ||
            !BN_GENCB_call(callback, 0, counter))
            return 0;
        const Verdict verdict = test(candidate, mode, counter, callback, context);
        if (verdict != Verdict::rejected)
            return verdict == Verdict::accepted;
    }
}
