// The bases that measurements start from.
#pragma once

#include "prime/big_number.h"

#include <cstdint>

// A number of exactly `bits` bits, a multiple of 8, that follows from the arguments
// alone: the same in every run. Throws std::bad_alloc.
BigNumber makeBase(int bits, int mode, std::uint32_t index);
