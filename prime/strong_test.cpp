#include "prime/strong_test.h"

#include <bit>

namespace
{

// The big numbers of the test of one number.
struct Temporaries {
    explicit Temporaries(BN_CTX* context)
        : numbers(context)
    {
    }
    BIGNUM* m() const
    {
        return numbers[0];
    }
    BIGNUM* z() const
    {
        return numbers[1];
    }
    // 1 and w - 1, as residues or in Montgomery form. Where the base is w - 2, `one`
    // holds it until the exponentiation.
    BIGNUM* one() const
    {
        return numbers[2];
    }
    BIGNUM* minusOne() const
    {
        return numbers[3];
    }

    LentNumbers<4> numbers;
};

// w - 1 = 2^a * m with m odd.
struct Subject {
    const BIGNUM* w = nullptr;
    int a = 0;
    BN_MONT_CTX* montgomery = nullptr;
    BN_CTX* context = nullptr;
};

bool prepare(Subject& subject, const Temporaries& t)
{
    if (!t.numbers.complete() || !BN_copy(t.z(), subject.w) || !BN_sub_word(t.z(), 1))
        return false;
    subject.a = 1;
    while (!BN_is_bit_set(t.z(), subject.a))
        ++subject.a;
    return BN_rshift(t.m(), t.z(), subject.a) &&
           BN_MONT_CTX_set(subject.montgomery, subject.w, subject.context);
}

// z = 2^m in Montgomery form. The first bits of m are taken in one step: the number that
// they form is less than w's length in bits, so 2 to that power is below w.
bool powerBySquarings(const Subject& subject, const Temporaries& t)
{
    const int bits = BN_num_bits(t.m());
    const auto size = static_cast<unsigned>(BN_num_bits(subject.w) - 1);
    const int first = static_cast<int>(std::bit_width(size)) - 1;
    int power = 0;
    for (int i = 1; i <= first; ++i)
        power = 2 * power + BN_is_bit_set(t.m(), bits - i);
    BN_zero(t.z());
    if (!BN_set_bit(t.z(), power) ||
        !BN_to_montgomery(t.z(), t.z(), subject.montgomery, subject.context))
        return false;
    for (int bit = bits - first - 1; bit >= 0; --bit) {
        if (!BN_mod_mul_montgomery(t.z(), t.z(), t.z(), subject.montgomery,
                                   subject.context))
            return false;
        if (BN_is_bit_set(t.m(), bit) && !BN_mod_lshift1_quick(t.z(), t.z(), subject.w))
            return false;
    }
    return BN_to_montgomery(t.one(), BN_value_one(), subject.montgomery,
                            subject.context) &&
           BN_sub(t.minusOne(), subject.w, t.one());
}

// one = w - 2, the base that stands in for 2. w - 2 has the length of the modulus and
// equals -2 modulo w. Since m is odd, (-2)^m = -(2^m), and its square equals that of 2^m.
bool setBase(const Subject& subject, const Temporaries& t)
{
    return BN_copy(t.one(), subject.w) && BN_sub_word(t.one(), 2);
}

bool setResidues(const Subject& subject, const Temporaries& t)
{
    return BN_one(t.one()) && BN_sub(t.minusOne(), subject.w, t.one());
}

// From z = b^m to b^(2^(a-1)m).
StrongVerdict judge(const Subject& subject, const Temporaries& t, bool inMontgomeryForm)
{
    if (BN_cmp(t.z(), t.one()) == 0 || BN_cmp(t.z(), t.minusOne()) == 0)
        return StrongVerdict::passed;
    for (int j = 1; j < subject.a; ++j) {
        if (inMontgomeryForm
                ? !BN_mod_mul_montgomery(t.z(), t.z(), t.z(), subject.montgomery,
                                         subject.context)
                : !BN_mod_mul(t.z(), t.z(), t.z(), subject.w, subject.context))
            return StrongVerdict::unknown;
        if (BN_cmp(t.z(), t.minusOne()) == 0)
            return StrongVerdict::passed;
    }
    return StrongVerdict::composite;
}

} // namespace

StrongTester makeStrongTester()
{
    return {Montgomery(BN_MONT_CTX_new()), Montgomery(BN_MONT_CTX_new())};
}

StrongVerdict strongTest(const StrongTester& tester, const BIGNUM* w,
                         ExponentiationWay way, BN_CTX* context)
{
    if (!tester.montgomery)
        return StrongVerdict::unknown;
    const Temporaries t(context);
    Subject subject{w, 0, tester.montgomery.get(), context};
    if (!prepare(subject, t))
        return StrongVerdict::unknown;
    if (way == ExponentiationWay::squarings)
        return powerBySquarings(subject, t) ? judge(subject, t, true)
                                            : StrongVerdict::unknown;
    const auto exponentiate = way == ExponentiationWay::constantTime
                                  ? BN_mod_exp_mont_consttime
                                  : BN_mod_exp_mont;
    if (!setBase(subject, t) ||
        !exponentiate(t.z(), t.one(), t.m(), w, context, subject.montgomery) ||
        !setResidues(subject, t))
        return StrongVerdict::unknown;
    return judge(subject, t, false);
}

std::array<StrongVerdict, 2> strongTestOfTwo(const StrongTester& tester,
                                             const BIGNUM* first, const BIGNUM* second,
                                             BN_CTX* context)
{
    constexpr std::array<StrongVerdict, 2> unknown{StrongVerdict::unknown,
                                                   StrongVerdict::unknown};
    if (!tester.montgomery || !tester.second)
        return unknown;
    const Temporaries t1(context);
    const Temporaries t2(context);
    Subject subject1{first, 0, tester.montgomery.get(), context};
    Subject subject2{second, 0, tester.second.get(), context};
    if (!prepare(subject1, t1) || !prepare(subject2, t2) || !setBase(subject1, t1) ||
        !setBase(subject2, t2) ||
        !BN_mod_exp_mont_consttime_x2(t1.z(), t1.one(), t1.m(), first,
                                      subject1.montgomery, t2.z(), t2.one(), t2.m(),
                                      second, subject2.montgomery, context) ||
        !setResidues(subject1, t1) || !setResidues(subject2, t2))
        return unknown;
    return {judge(subject1, t1, false), judge(subject2, t2, false)};
}
