#include "bench/bare_exponentiation.h"

#include "bench/bases.h"

#include <new>

BareExponentiation makeBareExponentiation(int bits)
{
    constexpr int anyMode = 0;
    BareExponentiation bare{makeBase(bits, anyMode, 0), makeBase(bits, anyMode, 1),
                            makeBase(bits, anyMode, 2), BigNumber(BN_new()),
                            Context(BN_CTX_new()),      Montgomery(BN_MONT_CTX_new())};
    if (!bare.result || !bare.context || !bare.montgomery ||
        !BN_set_bit(bare.modulus.get(), 0) ||
        !BN_rshift1(bare.witness.get(), bare.witness.get()) ||
        !BN_MONT_CTX_set(bare.montgomery.get(), bare.modulus.get(), bare.context.get()))
        throw std::bad_alloc();
    return bare;
}

bool exponentiate(const BareExponentiation& bare)
{
    return BN_mod_exp_mont(bare.result.get(), bare.witness.get(), bare.exponent.get(),
                           bare.modulus.get(), bare.context.get(),
                           bare.montgomery.get()) == 1;
}
