// Generators of the groups modulo a prime.
#pragma once

#include "prime/big_number.h"

// The smallest number from 2 on that generates the subgroup of order (p-1)/2 modulo the
// safe prime p, 7 or more: the smallest square other than 1. Returns 0 when
// libcrypto fails or the number is no such prime.
BN_ULONG smallestGenerator(const BIGNUM* safePrime);

enum class Order {
    half,    // (p-1)/2
    whole,   // p-1
    trivial, // 1 or 2: the number generates nothing of use
    invalid, // the number is not from 1 to p-1
    failed   // libcrypto failed
};

// The order of `number` modulo the safe prime p, 7 or more. The orders are the
// divisors of p-1: 1, 2, (p-1)/2 and p-1.
Order orderModulo(const BIGNUM* number, const BIGNUM* safePrime);
