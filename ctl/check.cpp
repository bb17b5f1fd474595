#include "ctl/check.h"

#include <exception>
#include <openssl/crypto.h>
#include <thread>

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

struct Verdicts { // each 1, 0, or -1 when libcrypto fails
    int prime = -1;
    int half = -1; // means nothing unless `prime` is 1
};

Verdicts judge(const BIGNUM* prime, const BIGNUM* half, int threads)
{
    Verdicts verdicts;
    std::jthread other;
    if (threads > 1) {
        try {
            other = std::jthread([&verdicts, half] {
                verdicts.half = isPrime(half);
                // Where libcrypto is part of the program, nobody else tells it.
                OPENSSL_thread_stop();
            });
        } catch (const std::exception&) {
            // No thread, or no memory for one: then one after the other.
        }
    }
    verdicts.prime = isPrime(prime);
    if (other.joinable())
        other.join();
    else if (verdicts.prime == 1)
        verdicts.half = isPrime(half);
    return verdicts;
}

} // namespace

CheckResult checkFound(const BIGNUM* prime, const BIGNUM* base, int bits, bool safe,
                       int threads)
{
    if (BN_is_negative(prime) || BN_num_bits(prime) != bits)
        return CheckResult::wrongSize;
    if (base) {
        const int follows = canFollow(prime, base, bits);
        if (follows != 1)
            return follows == 0 ? CheckResult::belowBase : CheckResult::failed;
    }
    Verdicts verdicts;
    if (safe) {
        const SecretNumber half(BN_new());
        if (!half || !BN_rshift1(half.get(), prime))
            return CheckResult::failed;
        verdicts = judge(prime, half.get(), threads);
    } else {
        verdicts.prime = isPrime(prime);
    }
    if (verdicts.prime != 1)
        return verdicts.prime == 0 ? CheckResult::notPrime : CheckResult::failed;
    if (safe && verdicts.half != 1)
        return verdicts.half == 0 ? CheckResult::halfNotPrime : CheckResult::failed;
    return CheckResult::good;
}

std::uint64_t iterationsOfCheck(int bits)
{
    return bits > 2048 ? 128 : 64;
}
