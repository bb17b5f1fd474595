#include "tests/ctl/norvctl.h"
#include "tests/platform/temporary_folder.h"

namespace
{

class CheckCommand : public testing::Test
{
protected:
    std::string file(const std::string& content) const
    {
        writeFile(folder / "file", content);
        return (folder / "file").string();
    }

    TemporaryFolder folder;
};

TEST_F(CheckCommand, AgreesWithWhatGenerateWrote)
{
    for (const char* format : {"hex", "dec", "pem", "der", "json", "moduli"}) {
        const std::string path = (folder / format).string();
        ASSERT_EQ(0, runNorvctl({"generate", "128", "--safe", "--quiet", "--format",
                                 format, "--output", path})
                         .exitCode)
            << format;
        if (std::string(format) == "moduli")
            continue; // not among the forms that are read
        const Ending ending = runNorvctl({"check", path, "--safe"});
        EXPECT_EQ(0, ending.exitCode) << format << ": " << ending.errors;
        EXPECT_NE("", ending.output) << format;
    }
}

TEST_F(CheckCommand, ReadsItsInput)
{
    EXPECT_EQ(0, runNorvctl({"check"}, {Streams::Input::text, "0x11"}).exitCode);
    EXPECT_EQ(1, runNorvctl({"check", "-"}, {Streams::Input::text, "0x0f"}).exitCode);
    EXPECT_EQ(1,
              runNorvctl({"check", "--safe"}, {Streams::Input::text, "0x11"}).exitCode);
}

TEST_F(CheckCommand, RepeatsTheSearchOfAText)
{
    const std::string path = (folder / "json").string();
    ASSERT_EQ(0, runNorvctl({"generate", "256", "--from", "a text", "--quiet", "--format",
                             "json", "--output", path})
                     .exitCode);
    const Ending ending = runNorvctl({"check", "--replay", "--quiet", path});
    EXPECT_EQ(0, ending.exitCode) << ending.errors;
    EXPECT_EQ("", ending.errors);
    const Ending none =
        runNorvctl({"check", "--replay", "--norv", "/nonexistent/norv", path});
    EXPECT_EQ(3, none.exitCode);
    EXPECT_NE(std::string::npos, none.errors.find("/nonexistent/norv")) << none.errors;
}

TEST_F(CheckCommand, SaysWhichFileItCannotRead)
{
    expectLine(2, "cannot read /nonexistent/file: No such file or directory",
               runNorvctl({"check", "/nonexistent/file"}));
}

} // namespace
