// Paths: the program's own, and that of the progress file.
#include "tests/end_to_end/run.h"
#include "tests/platform/temporary_folder.h"

namespace
{

class Files : public EndToEnd
{
protected:
    const Arguments quiet{"-noPrompt", "-threads", "1", "-base", "77777777"};
    const TemporaryFolder folder;
};

TEST_F(Files, IncludeAProgramWhosePathIsInQuotes)
{
    std::filesystem::create_directory(folder / "a blank -safe");
    const auto program = folder / "a blank -safe" / "norv.exe";
    std::filesystem::copy_file(NORV_PROGRAM, program);
    expectEnding(12, "F7 77 76 4B ",
                 Process(asArgument(program), withSemaphore(quiet)).wait());
}

TEST_F(Files, OfProgressMayHaveNamesThatNoCodePageHolds)
{
    const std::filesystem::path name =
        u8"\u00E4 \u03C0 \u0416 \u65E5\u672C \U0001F511.txt";
    Arguments arguments = quiet;
    arguments.insert(arguments.end(), {"-outPrompt", asArgument(folder / name)});
    expectEnding(12, "F7 77 76 4B ", run(arguments));
    EXPECT_NE("", contentOf(folder / name));
}

TEST_F(Files, OfProgressMayBeNamedWithSlashesOrBackslashes)
{
    Arguments arguments = quiet;
    arguments.insert(arguments.end(),
                     {"-outPrompt", (folder / "marks").generic_string()});
    run(arguments);
    const std::string once = contentOf(folder / "marks");
    EXPECT_NE("", once);
    arguments.back() = (folder / "marks").make_preferred().string();
    run(arguments);
    EXPECT_EQ(once + once, contentOf(folder / "marks"));
}

} // namespace
