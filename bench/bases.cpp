#include "bench/bases.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <random>
#include <vector>

BigNumber makeBase(int bits, int mode, std::uint32_t index)
{
    std::seed_seq seed{static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(mode),
                       index};
    std::mt19937 generator(seed);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(bits / 8));
    std::generate(bytes.begin(), bytes.end(),
                  [&generator] { return static_cast<unsigned char>(generator() >> 24); });
    bytes[0] |= 0x80;
    BigNumber base(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    if (!base)
        throw std::bad_alloc();
    return base;
}
