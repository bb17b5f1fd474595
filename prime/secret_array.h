// Arrays that tell of the base or of a candidate: wiped before they are freed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <openssl/crypto.h>

template <typename Item>
struct ArrayClearDelete {
    // How many items, from the first, may have been written. The others are not wiped:
    // of a large array a short search writes little.
    std::size_t written = 0;

    void operator()(Item* items) const
    {
        OPENSSL_cleanse(items, written * sizeof(Item));
        delete[] items;
    }
};

// An array. noteWritten must be called before anything is written to it.
template <typename Item>
using SecretArray = std::unique_ptr<Item[], ArrayClearDelete<Item>>;

// Makes `items`, which owns none, own `count` new items, not initialised. Returns false
// when memory is short.
template <typename Item>
bool allocateSecret(SecretArray<Item>& items, std::size_t count)
{
    items.reset(new (std::nothrow) Item[count]);
    return items != nullptr;
}

// Call before the first `count` items are written. A smaller count later changes nothing.
template <typename Item>
void noteWritten(SecretArray<Item>& items, std::size_t count)
{
    std::size_t& written = items.get_deleter().written;
    written = std::max(written, count);
}
