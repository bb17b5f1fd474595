// A folder of a test's own, and what stands in its files.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>

// An empty folder, removed with all it holds at the end.
class TemporaryFolder
{
public:
    TemporaryFolder()
        : path_(std::filesystem::path(testing::TempDir()) /
                ("norv_test_" + std::to_string(std::random_device()()) + "_" +
                 std::to_string(std::random_device()())))
    {
        std::filesystem::create_directories(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::filesystem::path operator/(const std::filesystem::path& name) const
    {
        return path_ / name;
    }

private:
    std::filesystem::path path_;
};

inline std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeFile(const std::filesystem::path& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}
