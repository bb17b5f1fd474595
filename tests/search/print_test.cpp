#include "search/print.h"

#include "tests/platform/temporary_folder.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <memory>

namespace
{

struct Close {
    void operator()(std::FILE* stream) const
    {
        std::fclose(stream);
    }
};
using Stream = std::unique_ptr<std::FILE, Close>;

Stream openStream(const std::filesystem::path& path, const char* mode)
{
    return Stream(std::fopen(path.string().c_str(), mode));
}

TEST(PrintOut, FormatsOntoStandardOutput)
{
    testing::internal::CaptureStdout();
    printOut("%s %d bits in %d threads.", "Prime", 256, -8);
    EXPECT_EQ("Prime 256 bits in -8 threads.", testing::internal::GetCapturedStdout());
}

TEST(PrintOut, AddsNothingToThePlainText)
{
    testing::internal::CaptureStdout();
    printOut("Result:");
    printOut("%%");
    EXPECT_EQ("Result:%", testing::internal::GetCapturedStdout());
}

TEST(PrintTo, FormatsOntoTheStream)
{
    const TemporaryFolder folder;
    {
        const Stream stream = openStream(folder / "text", "wb");
        printTo(stream.get(), "%c", '*');
        printTo(stream.get(), "%s-%d", "bits", 64);
    }
    EXPECT_EQ("*bits-64", contentOf(folder / "text"));
}

TEST(PrintTo, PrintsNothingOnStandardOutput)
{
    const TemporaryFolder folder;
    const Stream stream = openStream(folder / "text", "wb");
    testing::internal::CaptureStdout();
    printTo(stream.get(), "%c", '*');
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(PrintTo, FlushesNothing)
{
    const TemporaryFolder folder;
    const Stream stream = openStream(folder / "text", "wb");
    printTo(stream.get(), "held back");
    EXPECT_EQ("", contentOf(folder / "text"));
    std::fflush(stream.get());
    EXPECT_EQ("held back", contentOf(folder / "text"));
}

TEST(PrintTo, LeavesAFailedWriteToTheStream)
{
    const TemporaryFolder folder;
    writeFile(folder / "text", "kept");
    const Stream stream = openStream(folder / "text", "rb");
    printTo(stream.get(), "lost");
    EXPECT_NE(0, std::ferror(stream.get()));
    EXPECT_EQ("kept", contentOf(folder / "text"));
}

} // namespace
