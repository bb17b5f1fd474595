// The name of this test's own program ends with a dot and a digit, as a copy of norvctl
// may.
#include "ctl/norv_path.h"

#include "platform/process.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

namespace fs = std::filesystem;

fs::path makeProgram(const fs::path& path)
{
    writeFile(path, "");
    fs::permissions(path, fs::perms::owner_all);
    return path;
}

const std::string nameOfNorv = std::string("norv") + programEnding;

TEST(FindNorv, TakesTheFirstOnThePathWhateverItsOwnName)
{
    const TemporaryFolder empty;
    const TemporaryFolder first;
    const TemporaryFolder second;
    const fs::path norv = makeProgram(first / nameOfNorv);
    makeProgram(first / "norv.0");
    makeProgram(second / nameOfNorv);
    const std::string separator = fs::path::preferred_separator == '/' ? ":" : ";";
    const EnvironmentVariable path("PATH", (empty / "").string() + separator + separator +
                                               (first / "").string() + separator +
                                               (second / "").string());
    EXPECT_EQ(norv.string(), findNorv(""));
}

TEST(FindNorv, TakesTheOneThatIsNamed)
{
    const TemporaryFolder folder;
    const std::string named = makeProgram(folder / ("other" + nameOfNorv)).string();
    EXPECT_EQ(named, findNorv(named));
    EXPECT_EQ("", findNorv((folder / "missing").string()));
    EXPECT_EQ("", findNorv((folder / "").string()));
}

TEST(FindNorv, FindsNoneWhereThereIsNone)
{
    const TemporaryFolder empty;
    const EnvironmentVariable path("PATH", (empty / "").string());
    EXPECT_EQ("", findNorv(""));
}

} // namespace
