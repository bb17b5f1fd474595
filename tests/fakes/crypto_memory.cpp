#include "tests/fakes/crypto_memory.h"

#include <atomic>
#include <cstdlib>
#include <openssl/crypto.h>

namespace
{

std::atomic<int> allocations{0};
std::atomic<int> failing{-1};

void* allocate(std::size_t size, const char* /*file*/, int /*line*/)
{
    return allocations++ == failing ? nullptr : std::malloc(size);
}

void* reallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/)
{
    return allocations++ == failing ? nullptr : std::realloc(block, size);
}

void release(void* block, const char* /*file*/, int /*line*/)
{
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
