#include "tests/fakes/crypto_memory.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <mutex>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>

namespace
{

struct Memory {
    std::mutex mutex;
    std::map<void*, std::size_t> blocks;
    int allocations = 0;
    int failing = -1;
};

// Never destroyed: the library gives blocks back after the last static is gone.
Memory& memory()
{
    static auto* only = new Memory;
    return *only;
}

// Whether the allocation now asked for is the one to fail.
bool isRefused(Memory& watched)
{
    return watched.allocations++ == watched.failing;
}

void* allocate(std::size_t size, const char* /*file*/, int /*line*/)
{
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    if (isRefused(watched))
        return nullptr;
    void* block = std::malloc(size);
    if (block)
        watched.blocks[block] = size;
    return block;
}

void release(void* block, const char* /*file*/, int /*line*/)
{
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    watched.blocks.erase(block);
    std::free(block);
}

void* reallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/)
{
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    if (isRefused(watched))
        return nullptr;
    watched.blocks.erase(block);
    void* moved = std::realloc(block, size);
    if (moved)
        watched.blocks[moved] = size;
    return moved;
}

// The library accepts this only before its first allocation.
[[maybe_unused]] const int installed =
    CRYPTO_set_mem_functions(allocate, reallocate, release);

} // namespace

void failCryptoAllocation(int number)
{
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    watched.allocations = 0;
    watched.failing = number;
}

int cryptoAllocations()
{
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    return watched.allocations;
}

void settleCryptoMemory()
{
    failCryptoAllocation(0);
    BN_CTX_free(BN_CTX_new());
    failCryptoAllocation(-1);
}

int cryptoBlocks()
{
    ERR_clear_error();
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    return static_cast<int>(watched.blocks.size());
}

int cryptoBlocksWith(const std::vector<std::uint8_t>& bytes)
{
    Memory& watched = memory();
    const std::lock_guard guard(watched.mutex);
    return static_cast<int>(std::count_if(
        watched.blocks.begin(), watched.blocks.end(), [&bytes](const auto& block) {
            const auto* first = static_cast<const std::uint8_t*>(block.first);
            const auto* last = first + block.second;
            return std::search(first, last, bytes.begin(), bytes.end()) != last;
        }));
}
