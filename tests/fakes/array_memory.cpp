#include "tests/fakes/array_memory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

bool arrayAllocationFails = false;
std::size_t longestArray = anyLength;
ArrayWatch arrayWatch;

namespace
{

std::size_t awaitedSize = 0;

void* allocate(std::size_t size)
{
    void* block = std::malloc(size ? size : 1);
    if (size != 0 && size == awaitedSize) {
        awaitedSize = 0;
        arrayWatch = {block, size};
    }
    return block;
}

void release(void* block) noexcept
{
    if (block && block == arrayWatch.block) {
        const auto* bytes = static_cast<const unsigned char*>(block);
        ++arrayWatch.releases;
        const auto* end = bytes + arrayWatch.size;
        const auto* first =
            std::find_if(bytes, end, [](unsigned char byte) { return byte != 0; });
        arrayWatch.wiped = first == end;
        arrayWatch.leadingZeros = static_cast<std::size_t>(first - bytes);
        arrayWatch.block = nullptr;
    }
    std::free(block);
}

} // namespace

void watchNextArray(std::size_t size)
{
    arrayWatch = {};
    awaitedSize = size;
}

void* operator new[](std::size_t size)
{
    if (void* block = allocate(size))
        return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return arrayAllocationFails || size > longestArray ? nullptr : allocate(size);
}

void operator delete[](void* block) noexcept
{
    release(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    release(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    release(block);
}
