#include "prime/word_residues.h"

#include <algorithm>
#include <bit>

bool computeGroupResidues(const BIGNUM* number, std::span<const std::uint32_t> primes,
                          std::uint32_t* residues, const ResidueScratch& scratch,
                          BN_CTX* context)
{
    if (BN_num_bits(number) <= groupBits || primes.empty())
        return computeWordResidues(number, primes, residues);

    const auto width = static_cast<std::size_t>(std::bit_width(primes.back() | 1U));
    const std::size_t groupLength = groupBits / width;
    BIGNUM* product = scratch.product.get();
    BIGNUM* remainder = scratch.remainder.get();
    for (std::size_t first = 0; first < primes.size(); first += groupLength) {
        const auto group =
            primes.subspan(first, std::min(groupLength, primes.size() - first));
        if (!BN_one(product))
            return false;
        for (const std::uint32_t prime : group)
            if (!BN_mul_word(product, prime))
                return false;
        if (!BN_mod(remainder, number, product, context) ||
            !computeWordResidues(remainder, group, residues + first))
            return false;
    }
    return true;
}
