#include "ctl/output_file.h"

#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

std::string whyNotWritable(const std::string& path)
{
    Output output{path};
    return whyNotWritable(output);
}

TEST(AddResult, KeepsAllResultsInTheFile)
{
    const TemporaryFolder folder;
    Output output{(folder / "results").string()};
    EXPECT_EQ("", addResult(output, "first\n"));
    EXPECT_EQ("first\n", contentOf(folder / "results"));
    EXPECT_EQ("", addResult(output, "second\n"));
    EXPECT_EQ("first\nsecond\n", contentOf(folder / "results"));
}

TEST(AddResult, ReplacesAFileThatWasThere)
{
    const TemporaryFolder folder;
    writeFile(folder / "results", "old and long");
    Output output{(folder / "results").string()};
    EXPECT_EQ("", addResult(output, "new"));
    EXPECT_EQ("new", contentOf(folder / "results"));
}

TEST(AddResult, WritesToStandardOutputAtOnce)
{
    for (const char* path : {"", "-"}) {
        testing::internal::CaptureStdout();
        Output output{path};
        EXPECT_EQ("", addResult(output, "first\n"));
        EXPECT_EQ("", addResult(output, "second\n"));
        EXPECT_EQ("first\nsecond\n", testing::internal::GetCapturedStdout());
    }
}

TEST(AddResult, TellsTheFileAndTheReasonAndAddsNothing)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "missing" / "results").string();
    Output output{path};
    EXPECT_EQ("cannot write " + path + ": No such file or directory",
              addResult(output, "first\n"));
    std::filesystem::create_directory(folder / "missing");
    EXPECT_EQ("", addResult(output, "second\n"));
    EXPECT_EQ("second\n", contentOf(path));
}

TEST(WhyNotWritable, IsEmptyWhereAFileCanBeMade)
{
    const TemporaryFolder folder;
    EXPECT_EQ("", whyNotWritable((folder / "results").string()));
    EXPECT_FALSE(std::filesystem::exists(folder / "results"));
    EXPECT_EQ("", whyNotWritable(""));
    EXPECT_EQ("", whyNotWritable("-"));
}

TEST(WhyNotWritable, TellsTheFileAndTheReason)
{
    const TemporaryFolder folder;
    const std::string path = (folder / "missing" / "results").string();
    EXPECT_EQ("cannot write " + path + ": No such file or directory",
              whyNotWritable(path));
    const std::string itself = (folder / "").string();
    EXPECT_EQ("cannot write " + itself + ": Is a directory", whyNotWritable(itself));
}

} // namespace
