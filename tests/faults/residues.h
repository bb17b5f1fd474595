// Whether memory tells residues of a number modulo the small primes. By the Chinese
// remainder theorem enough of them give the number itself, though none of its bytes
// stands anywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// The primes that are looked at: 3 and those after it, in which a sieve has its small
// ones and its first slices.
inline constexpr std::size_t watchedPrimes = 768;

// A number by its residues: residues[i] modulo the i-th odd prime.
using Residues = std::array<std::uint32_t, watchedPrimes>;

// Of the number with these bytes, the most significant first.
Residues residuesOf(std::span<const std::uint8_t> number);

// Whether the block is a table that tells at least twelve of them in a row (47 bits of
// the number and more): as 32-bit residues, or as distances, in steps of 2 or 4, to a
// multiple of each prime.
bool tableTells(const Residues& residues, std::span<const std::uint8_t> block);

// Whether another number has at least twelve of them in a row: the rest of a division
// by the product of these primes.
bool numberTells(const Residues& residues, const Residues& other);

// Whether the block is a bitmap, from the number on in steps of 2 or 4, in which 1024
// bits in a row have all multiples of the smallest primes set, or all those of the first
// primes that do not sieve candidates of up to 512 bits, and at least eight of the 1024
// bits are clear.
bool bitmapTells(const Residues& residues, std::span<const std::uint8_t> block);
