// The result as text.
#pragma once

#include <cstdint>
#include <cstdio>

// Writes resultPrime to `stream`: "Result:" unless noPrompt is set, then each
// byte, the most significant first, as two upper-case hex digits and a blank.
// Returns the number of characters written, the prefix not counted: 3 a byte, or fewer
// when the stream takes no more. Writes nothing and returns 0 when the result is zero or
// there is none. Throws std::bad_alloc.
std::int32_t writeResult(std::FILE* stream);
