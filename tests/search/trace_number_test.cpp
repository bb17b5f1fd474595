#include "search/trace_number.h"

#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

// The text goes nowhere: what can be seen is that the number stays as it is and,
// with the address sanitizer, that no buffer is overrun.
TEST(TraceNumberHex, LeavesTheNumberAsItIsAndPrintsNothing)
{
    testing::internal::CaptureStdout();
    for (const std::string& digits :
         {std::string("0"), std::string("1"), std::string("FF"), std::string("100"),
          std::string("FFFFFFFFFFFFFFC5"), std::string(2048, 'A')}) {
        const BigNumber number = fromHex(digits);
        traceNumberHex(number.get());
        EXPECT_EQ(digits, toHex(number.get()));
    }
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

} // namespace
