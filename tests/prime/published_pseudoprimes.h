// Published strong pseudoprimes to the base 2 of more than 1000 bits.
#pragma once

#include "tests/prime/engine.h"
#include "tests/support/big.h"

#include <openssl/bn.h>
#include <string>

// F. Arnault, Rabin-Miller primality test: composite numbers which pass it, Mathematics
// of Computation 64 (1995): of 397 digits, passes with every prime below 307.
inline std::string arnaultsNumber()
{
    BIGNUM* parsed = nullptr;
    BN_dec2bn(&parsed, "29674495668685510550154174642905332730771991"
                       "79985304335099507553127683875317177019959423"
                       "8596428121188033664754218345562493168782883");
    const BigNumber first(parsed);
    const Context context = newContext();
    const BigNumber product(BN_dup(first.get()));
    for (const BN_ULONG multiplier : {313UL, 353UL}) {
        const BigNumber factor(BN_dup(first.get()));
        BN_sub_word(factor.get(), 1);
        BN_mul_word(factor.get(), multiplier);
        BN_add_word(factor.get(), 1);
        BN_mul(product.get(), product.get(), factor.get(), context.get());
    }
    return toHex(product.get());
}

// 2^1024 + 1. Its least factor is 45592577: R. P. Brent, Factorization of the tenth
// Fermat number, Mathematics of Computation 68 (1999).
inline std::string tenthFermatNumber()
{
    const BigNumber number(BN_new());
    BN_one(number.get());
    BN_set_bit(number.get(), 1024);
    return toHex(number.get());
}
