#include "tests/fakes/crypto_memory.h"

#include <atomic>
#include <cstdlib>
#include <openssl/crypto.h>
#include <openssl/err.h>

namespace
{

std::atomic<int> allocations{0};
std::atomic<int> failing{-1};
std::atomic<int> blocks{0};

void* allocate(std::size_t size, const char* /*file*/, int /*line*/)
{
    void* block = allocations++ == failing ? nullptr : std::malloc(size);
    blocks += block ? 1 : 0;
    return block;
}

void* reallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/)
{
    void* larger = allocations++ == failing ? nullptr : std::realloc(block, size);
    blocks += larger && !block ? 1 : 0;
    return larger;
}

void release(void* block, const char* /*file*/, int /*line*/)
{
    blocks -= block ? 1 : 0;
    std::free(block);
}

// The library accepts this only before its first allocation.
[[maybe_unused]] const int installed =
    CRYPTO_set_mem_functions(allocate, reallocate, release);

} // namespace

void failCryptoAllocation(int number)
{
    allocations = 0;
    failing = number;
}

int cryptoAllocations()
{
    return allocations;
}

int cryptoBlocks()
{
    ERR_clear_error();
    return blocks;
}
