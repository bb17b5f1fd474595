#include "app/result_output.h"

#include "search/search_state.h"
#include "search/settings.h"
#include "tests/fakes/array_memory.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/big.h"
#include "tests/support/shared_state.h"

#include <cstdio>
#include <string>

namespace
{

class WriteResult : public SharedStateTest
{
protected:
    // Writes `result`, a number in hex, to a file; the return value goes to
    // `returned`. Gives what stands in the file.
    std::string write(std::string_view result)
    {
        const TemporaryFolder folder;
        resultPrime = fromHex(result).release();
        std::FILE* stream = std::fopen((folder / "result").string().c_str(), "wb");
        returned = writeResult(stream);
        std::fclose(stream);
        return contentOf(folder / "result");
    }

    std::int32_t returned = -1;
};

TEST_F(WriteResult, WritesThePrefixAndPairsAndCountsThePairsAlone)
{
    EXPECT_EQ("Result:0A 1B ", write("0A1B"));
    EXPECT_EQ(6, returned);
}

TEST_F(WriteResult, LeavesThePrefixOutWhenQuiet)
{
    noPrompt = 1;
    EXPECT_EQ("0A 1B ", write("0A1B"));
    EXPECT_EQ(6, returned);
}

TEST_F(WriteResult, WritesEveryDigit)
{
    noPrompt = 1;
    EXPECT_EQ("FE DC BA 98 76 54 32 10 ", write("FEDCBA9876543210"));
}

TEST_F(WriteResult, WritesNoLeadingZeroBytes)
{
    noPrompt = 1;
    EXPECT_EQ("01 00 ", write("00000100"));
}

TEST_F(WriteResult, CountsThreeCharactersAByte)
{
    write(std::string(64, 'F'));
    EXPECT_EQ(96, returned);
}

TEST_F(WriteResult, WritesNothingForZero)
{
    EXPECT_EQ("", write("0"));
    EXPECT_EQ(0, returned);
}

TEST_F(WriteResult, WritesNothingWithoutAResult)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, writeResult(stdout));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(WriteResult, CountsNothingThatTheStreamDoesNotTake)
{
    const TemporaryFolder folder;
    writeFile(folder / "result", "");
    resultPrime = fromHex("0A1B").release();
    std::FILE* readOnly = std::fopen((folder / "result").string().c_str(), "rb");
    EXPECT_EQ(0, writeResult(readOnly));
    std::fclose(readOnly);
}

TEST_F(WriteResult, NeverFreesItsBuffer)
{
    // Of two bytes: these, six characters and a zero.
    watchNextArray(9);
    write("0A1B");
    EXPECT_NE(nullptr, arrayWatch.block);
    EXPECT_EQ(0, arrayWatch.releases);
}

} // namespace
