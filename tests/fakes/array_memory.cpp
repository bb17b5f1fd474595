#include "tests/fakes/array_memory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

bool arrayAllocationFails = false;
ArrayWatch arrayWatch;

namespace
{

void release(void* block) noexcept
{
    if (block && block == arrayWatch.block) {
        const auto* bytes = static_cast<const unsigned char*>(block);
        ++arrayWatch.releases;
        arrayWatch.wiped = std::all_of(bytes, bytes + arrayWatch.size,
                                       [](unsigned char byte) { return byte == 0; });
        arrayWatch.block = nullptr;
    }
    std::free(block);
}

} // namespace

void* operator new[](std::size_t size)
{
    if (void* block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return arrayAllocationFails ? nullptr : std::malloc(size ? size : 1);
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
