#include "tests/ctl/norvctl.h"

#include <sstream>
#include <utility>

namespace
{

using Points = std::vector<std::pair<double, double>>;

// The pairs of a text that is nothing else; none for any other.
Points readPoints(const std::string& text)
{
    std::istringstream stream(text);
    Points points;
    double seconds = 0;
    double chance = 0;
    while (stream >> seconds >> chance)
        points.emplace_back(seconds, chance);
    return stream.eof() ? points : Points();
}

TEST(Estimate, TellsTheWholeDistributionToPrograms)
{
    const Ending ending =
        runNorvctl({"estimate", "512", "--safe", "--threads", "2", "--points"});
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ("", ending.errors);
    const Points points = readPoints(ending.output);
    ASSERT_LT(2U, points.size());
    EXPECT_LT(0, points.front().first);
    EXPECT_EQ(0, points.front().second);
    for (std::size_t i = 1; i < points.size(); ++i) {
        EXPECT_LT(points[i - 1].first, points[i].first);
        EXPECT_LT(points[i - 1].second, points[i].second);
    }
    EXPECT_LT(0.999, points.back().second);
    EXPECT_GT(1, points.back().second);
}

TEST(Estimate, TellsATableToPeople)
{
    const Ending ending = runNorvctl({"estimate", "512", "--safe", "--threads", "2"});
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ(0U,
              ending.output.find(" bits  kind             mean     median       90 %"));
    EXPECT_NE(std::string::npos, ending.output.find("  512  safe prime "));
    EXPECT_NE(std::string::npos, ending.output.find("on 2 threads"));
}

TEST(Estimate, TellsOfTheUsualSizesWithoutOne)
{
    const Ending all = runNorvctl({"estimate", "--threads", "1"});
    const Ending safe = runNorvctl({"estimate", "--safe", "--threads", "1"});
    EXPECT_EQ(0, all.exitCode);
    EXPECT_EQ(0, safe.exitCode);
    for (const char* bits :
         {" 512", "1024", "1536", "2048", "3072", "4096", "6144", "8192"}) {
        const std::string prime = std::string(" ") + bits + "  prime ";
        const std::string safePrime = std::string(" ") + bits + "  safe prime ";
        EXPECT_NE(std::string::npos, all.output.find(prime)) << bits;
        EXPECT_NE(std::string::npos, all.output.find(safePrime)) << bits;
        EXPECT_EQ(std::string::npos, safe.output.find(prime)) << bits;
        EXPECT_NE(std::string::npos, safe.output.find(safePrime)) << bits;
    }
    EXPECT_NE(std::string::npos, all.output.find("on 1 thread\n"));
}

} // namespace
