// All memory that the program and libcrypto take from the heap, watched: each
// allocation can be made to fail, each block must be given back once, and no block
// may carry secret bytes, or residues of a secret number, when it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

struct LiveBlocks {
    long own;    // operator new
    long crypto; // libcrypto

    friend bool operator==(const LiveBlocks&, const LiveBlocks&) = default;
};

// How many blocks are held now. Clears the calling thread's error queue, whose
// entries hold some.
LiveBlocks liveBlocks();

// Whether the library's allocations are seen at all.
bool seesLibraryMemory();

// Lets the library allocate what it allocates once, at its first error, and keeps.
void settleLibraryMemory();

// What is secret: every stretch of eight bytes in `bytes`, of eight characters in
// `text`. Adds to what is so far.
void addSecret(std::span<const std::uint8_t> bytes);
void addSecretText(std::wstring_view text);
// A number, its bytes the most significant first, from which a sieve may start: tables
// and bitmaps of the program and numbers of the library that tell its residues are
// secret. Adds to what is so far.
void addSecretStart(std::span<const std::uint8_t> bytes);
void forgetSecrets();

// Whether blocks are searched for secret bytes when they are given back.
void watchForSecrets(bool watched);

// How many blocks that the library holds now contain something secret.
long secretCryptoBlocks();

// The block, where there is one, must hold zeros when it is given back, apart from what
// was never written in it. Otherwise it counts as one with something secret.
void expectWiped(const void* block);

// What went wrong since the last call. The report of the fault counts it as well.
struct MemoryErrors {
    int foreignFrees;            // given back twice, or never given out
    int secretFrees;             // given back with something secret in them
    std::size_t secretBlockSize; // of the last such block
};
MemoryErrors takeMemoryErrors();
