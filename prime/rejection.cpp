#include "prime/rejection.h"

#include "prime/exponentiation_way.h"

#include <chrono>

namespace
{

// Below it an iteration with a witness rejects as cheaply.
constexpr int leastBits = 512;

bool mayTest(const SearchSieve& sieve)
{
    return sieve.plan.reach > 0 && sieve.bits >= leastBits;
}

bool testsNow(const SearchSieve& sieve)
{
    return sieve.start && mayTest(sieve);
}

class Stopwatch
{
public:
    double seconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_)
            .count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

StrongVerdict testTwo(Rejection& rejection, const SearchSieve& sieve,
                      const BIGNUM* candidate, std::uint32_t steps, BN_CTX* context)
{
    rejection.aheadVerdict = StrongVerdict::unknown;
    if (!BN_copy(rejection.ahead.get(), candidate) ||
        !BN_add_word(rejection.ahead.get(), std::uint64_t{steps} * sieve.plan.step))
        return StrongVerdict::unknown;
    const Stopwatch watch;
    const auto verdicts =
        strongTestOfTwo(rejection.tester, candidate, rejection.ahead.get(), context);
    // A test that failed was quick.
    if (verdicts[0] != StrongVerdict::unknown && verdicts[1] != StrongVerdict::unknown)
        noteExponentiations(ExponentiationWay::twoAtOnce, 2, watch.seconds());
    rejection.aheadVerdict = verdicts[1];
    return verdicts[0];
}

StrongVerdict testOne(const Rejection& rejection, const BIGNUM* number,
                      ExponentiationWay way, BN_CTX* context)
{
    const Stopwatch watch;
    const StrongVerdict verdict = strongTest(rejection.tester, number, way, context);
    if (verdict != StrongVerdict::unknown)
        noteExponentiations(way, 1, watch.seconds());
    return verdict;
}

} // namespace

Rejection makeRejection(const SearchSieve& sieve)
{
    Rejection rejection;
    if (mayTest(sieve)) {
        rejection.tester = makeStrongTester();
        rejection.ahead.reset(BN_new());
    }
    return rejection;
}

bool isProvenComposite(Rejection& rejection, const SearchSieve& sieve,
                       const BIGNUM* candidate, BN_CTX* context)
{
    if (!testsNow(sieve))
        return false;
    if (rejection.aheadVerdict != StrongVerdict::unknown &&
        BN_cmp(rejection.ahead.get(), candidate) == 0)
        return rejection.aheadVerdict == StrongVerdict::composite;
    ExponentiationWay way = rejectionWay(sieve.bits);
    if (way == ExponentiationWay::twoAtOnce) {
        const std::uint32_t steps = stepsToNextUnknown(sieve);
        if (steps != 0 && rejection.ahead)
            return testTwo(rejection, sieve, candidate, steps, context) ==
                   StrongVerdict::composite;
        way = singleWay(sieve.bits, true);
    }
    return testOne(rejection, candidate, way, context) == StrongVerdict::composite;
}

bool isHalfProvenComposite(const Rejection& rejection, const SearchSieve& sieve,
                           const BIGNUM* candidate, BIGNUM* half, BN_CTX* context)
{
    return testsNow(sieve) && BN_rshift1(half, candidate) &&
           strongTest(rejection.tester, half, singleWay(sieve.bits, true), context) ==
               StrongVerdict::composite;
}
