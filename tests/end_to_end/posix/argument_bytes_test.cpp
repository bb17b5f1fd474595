// Arguments that are no text: they reach the program byte for byte.
#include "tests/end_to_end/run.h"
#include "tests/platform/temporary_folder.h"

namespace
{

class ArgumentBytes : public EndToEnd
{
protected:
    void appendMarksTo(const std::filesystem::path& path) const
    {
        const Ending ending = run({"-noPrompt", "-threads", "1", "-base",
                                   std::string(32, '7'), "-outPrompt", path.string()});
        EXPECT_EQ(exitCodeFor(128), ending.exitCode);
    }

    const TemporaryFolder folder;
};

TEST_F(ArgumentBytes, NameTheProgressFileToTheByte)
{
    const std::filesystem::path path = folder / "bad \xFF\xC3(\xE2\x82 name";
    appendMarksTo(path);
    EXPECT_NE("", contentOf(path));
}

TEST_F(ArgumentBytes, AreNotTakenForTheTextTheyLookLike)
{
    // An overlong form of "A".
    const std::filesystem::path path = folder / "\xC1\x81";
    appendMarksTo(path);
    EXPECT_NE("", contentOf(path));
    EXPECT_FALSE(std::filesystem::exists(folder / "A"));
}

TEST_F(ArgumentBytes, NoneTheLessMakeOneFile)
{
    appendMarksTo(folder / "\xF0\x28\x8C\xBC");
    int files = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator(folder / ""))
        ++files;
    EXPECT_EQ(1, files);
}

} // namespace
