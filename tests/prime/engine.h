// What every test of the engine has at hand.
#pragma once

#include "prime/base_bits.h"
#include "prime/big_number.h"
#include "tests/support/big.h"

inline Context newContext()
{
    return Context(BN_CTX_new());
}

inline BigNumber fromWord(BN_ULONG word)
{
    BigNumber number(BN_new());
    BN_set_word(number.get(), word);
    return number;
}

// The size that searches are for, as long as this lives.
class SearchSize
{
public:
    explicit SearchSize(int bits)
    {
        baseBits = bits;
    }
    SearchSize(const SearchSize&) = delete;
    SearchSize& operator=(const SearchSize&) = delete;
    ~SearchSize()
    {
        baseBits = 0;
    }
};
