#include "ctl/generator.h"

Order orderModulo(const BIGNUM* number, const BIGNUM* safePrime)
{
    const SecretNumber last(BN_dup(safePrime));
    const SecretNumber half(BN_new());
    const SecretNumber power(BN_new());
    const Context context(BN_CTX_new());
    if (!last || !half || !power || !context || !BN_sub_word(last.get(), 1) ||
        !BN_rshift1(half.get(), safePrime))
        return Order::failed;
    if (BN_is_zero(number) || BN_is_negative(number) || BN_cmp(number, safePrime) >= 0)
        return Order::invalid;
    if (BN_is_one(number) || BN_cmp(number, last.get()) == 0)
        return Order::trivial;
    if (!BN_mod_exp(power.get(), number, half.get(), safePrime, context.get()))
        return Order::failed;
    return BN_is_one(power.get()) ? Order::half : Order::whole;
}

BN_ULONG smallestGenerator(const BIGNUM* safePrime)
{
    const BigNumber number(BN_new());
    if (!number)
        return 0;
    // 4 is a square.
    for (BN_ULONG candidate = 2; candidate <= 4; ++candidate) {
        if (!BN_set_word(number.get(), candidate))
            return 0;
        switch (orderModulo(number.get(), safePrime)) {
        case Order::half:
            return candidate;
        case Order::whole:
        case Order::trivial:
            break;
        case Order::invalid:
        case Order::failed:
            return 0;
        }
    }
    return 0;
}
