#include "ctl/check.h"

namespace
{

constexpr int wrapBits = 80;

// Whether a search from `base` can end at `prime`, which has exactly `bits` bits.
// Returns 1 or 0, or -1 when libcrypto fails.
int canFollow(const BIGNUM* prime, const BIGNUM* base, int bits)
{
    if (BN_cmp(prime, base) > 0)
        return 1;
    // From the base to the top of the size, and from its bottom to the prime. A base of
    // more bits is no base of this size.
    if (BN_num_bits(base) > bits)
        return 0;
    const SecretNumber distance(BN_new());
    if (!distance || !BN_set_bit(distance.get(), bits - 1) ||
        !BN_sub(distance.get(), distance.get(), base) ||
        !BN_add(distance.get(), distance.get(), prime))
        return -1;
    return BN_num_bits(distance.get()) <= wrapBits ? 1 : 0;
}

int isPrime(const BIGNUM* number)
{
    const Context context(BN_CTX_new());
    return context ? BN_check_prime(number, context.get(), nullptr) : -1;
}

} // namespace

CheckResult checkFound(const BIGNUM* prime, const BIGNUM* base, int bits, bool safe)
{
    if (BN_is_negative(prime) || BN_num_bits(prime) != bits)
        return CheckResult::wrongSize;
    if (base) {
        const int follows = canFollow(prime, base, bits);
        if (follows != 1)
            return follows == 0 ? CheckResult::belowBase : CheckResult::failed;
    }
    const int verdict = isPrime(prime);
    if (verdict != 1)
        return verdict == 0 ? CheckResult::notPrime : CheckResult::failed;
    if (!safe)
        return CheckResult::good;

    const SecretNumber half(BN_new());
    if (!half || !BN_rshift1(half.get(), prime))
        return CheckResult::failed;
    const int halfVerdict = isPrime(half.get());
    if (halfVerdict != 1)
        return halfVerdict == 0 ? CheckResult::halfNotPrime : CheckResult::failed;
    return CheckResult::good;
}

std::uint64_t iterationsOfCheck(int bits)
{
    return bits > 2048 ? 128 : 64;
}
