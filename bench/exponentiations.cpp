#include "bench/exponentiations.h"

#include "prime/strong_test.h"

#include <chrono>
#include <openssl/bn.h>

Exponentiations exponentiations;

namespace
{

// Counts an exponentiation, or two, that is not a part of one already counted.
class Counted
{
public:
    explicit Counted(long count)
        : count_(depth_++ == 0 ? count : 0)
    {
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted()
    {
        --depth_;
        if (count_ == 0)
            return;
        const std::chrono::duration<double> elapsed =
            std::chrono::steady_clock::now() - start_;
        exponentiations.count += count_;
        exponentiations.seconds += elapsed.count();
    }

private:
    inline static int depth_ = 0;
    long count_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace

// The linker's names for the two ends of a call that it leads elsewhere.
int libraryWindow(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                  const BIGNUM* modulus, BN_CTX* context,
                  BN_MONT_CTX* montgomery) __asm__("__real_BN_mod_exp_mont");
int timedWindow(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                const BIGNUM* modulus, BN_CTX* context,
                BN_MONT_CTX* montgomery) __asm__("__wrap_BN_mod_exp_mont");
int libraryConstantTime(
    BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent, const BIGNUM* modulus,
    BN_CTX* context, BN_MONT_CTX* montgomery) __asm__("__real_BN_mod_exp_mont_consttime");
int timedConstantTime(
    BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent, const BIGNUM* modulus,
    BN_CTX* context, BN_MONT_CTX* montgomery) __asm__("__wrap_BN_mod_exp_mont_consttime");
int libraryTwo(BIGNUM* result1, const BIGNUM* base1, const BIGNUM* exponent1,
               const BIGNUM* modulus1, BN_MONT_CTX* montgomery1, BIGNUM* result2,
               const BIGNUM* base2, const BIGNUM* exponent2, const BIGNUM* modulus2,
               BN_MONT_CTX* montgomery2,
               BN_CTX* context) __asm__("__real_BN_mod_exp_mont_consttime_x2");
int timedTwo(BIGNUM* result1, const BIGNUM* base1, const BIGNUM* exponent1,
             const BIGNUM* modulus1, BN_MONT_CTX* montgomery1, BIGNUM* result2,
             const BIGNUM* base2, const BIGNUM* exponent2, const BIGNUM* modulus2,
             BN_MONT_CTX* montgomery2,
             BN_CTX* context) __asm__("__wrap_BN_mod_exp_mont_consttime_x2");
StrongVerdict
realStrongTest(const StrongTester& tester, const BIGNUM* w, ExponentiationWay way,
               BN_CTX* context) __asm__("__real__Z10strongTestRK12StrongTesterPK9bignum_"
                                        "st17ExponentiationWayP10bignum_ctx");
StrongVerdict
timedStrongTest(const StrongTester& tester, const BIGNUM* w, ExponentiationWay way,
                BN_CTX* context) __asm__("__wrap__Z10strongTestRK12StrongTesterPK9bignum_"
                                         "st17ExponentiationWayP10bignum_ctx");

int timedWindow(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                const BIGNUM* modulus, BN_CTX* context, BN_MONT_CTX* montgomery)
{
    const Counted counted(1);
    return libraryWindow(result, base, exponent, modulus, context, montgomery);
}

int timedConstantTime(BIGNUM* result, const BIGNUM* base, const BIGNUM* exponent,
                      const BIGNUM* modulus, BN_CTX* context, BN_MONT_CTX* montgomery)
{
    const Counted counted(1);
    return libraryConstantTime(result, base, exponent, modulus, context, montgomery);
}

int timedTwo(BIGNUM* result1, const BIGNUM* base1, const BIGNUM* exponent1,
             const BIGNUM* modulus1, BN_MONT_CTX* montgomery1, BIGNUM* result2,
             const BIGNUM* base2, const BIGNUM* exponent2, const BIGNUM* modulus2,
             BN_MONT_CTX* montgomery2, BN_CTX* context)
{
    const Counted counted(2);
    return libraryTwo(result1, base1, exponent1, modulus1, montgomery1, result2, base2,
                      exponent2, modulus2, montgomery2, context);
}

StrongVerdict timedStrongTest(const StrongTester& tester, const BIGNUM* w,
                              ExponentiationWay way, BN_CTX* context)
{
    const Counted counted(1);
    return realStrongTest(tester, w, way, context);
}
