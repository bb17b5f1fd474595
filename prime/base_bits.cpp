#include "prime/base_bits.h"

std::int32_t baseBits = 0;
