#include "tests/fakes/crypto_memory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <vector>

namespace
{

std::atomic<int> allocations{0};
std::atomic<int> failing{-1};
std::atomic<int> blocks{0};

std::array<unsigned char, 16> watched{};
std::atomic<bool> watching{false};
std::atomic<int> unwiped{0};

// Before each block stands its size.
constexpr std::size_t sizeBefore = alignof(std::max_align_t);
static_assert(sizeBefore >= sizeof(std::size_t));

std::size_t sizeOf(const unsigned char* block)
{
    std::size_t size = 0;
    std::memcpy(&size, block - sizeBefore, sizeof size);
    return size;
}

void* allocate(std::size_t size, const char* /*file*/, int /*line*/)
{
    void* start = allocations++ == failing ? nullptr : std::malloc(sizeBefore + size);
    if (!start)
        return nullptr;
    ++blocks;
    std::memcpy(start, &size, sizeof size);
    auto* block = static_cast<unsigned char*>(start) + sizeBefore;
    // What stood there before is not this block's.
    std::memset(block, 0, size);
    return block;
}

void release(void* block, const char* /*file*/, int /*line*/)
{
    if (!block)
        return;
    --blocks;
    auto* bytes = static_cast<unsigned char*>(block);
    auto* end = bytes + sizeOf(bytes);
    if (watching && std::search(bytes, end, watched.begin(), watched.end()) != end)
        ++unwiped;
    std::free(bytes - sizeBefore);
}

void* reallocate(void* block, std::size_t size, const char* file, int line)
{
    void* larger = allocate(size, file, line);
    if (larger && block) {
        const std::size_t before = sizeOf(static_cast<unsigned char*>(block));
        std::memcpy(larger, block, std::min(before, size));
        release(block, file, line);
    }
    return larger;
}

// The library accepts this only before its first allocation, which the tables of a test
// may cause before main.
[[gnu::constructor(101)]] void install()
{
    CRYPTO_set_mem_functions(allocate, reallocate, release);
}

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

void watchForNumber(const BIGNUM* secret)
{
    watching = false;
    unwiped = 0;
    if (!secret)
        return;
    std::vector<unsigned char> bytes(static_cast<std::size_t>(BN_num_bytes(secret)));
    BN_bn2lebinpad(secret, bytes.data(), static_cast<int>(bytes.size()));
    const std::size_t start = (bytes.size() - watched.size()) / 2;
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(start), watched.size(),
                watched.begin());
    watching = true;
}

int blocksWithTheNumber()
{
    return unwiped;
}
