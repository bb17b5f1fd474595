// Programs of the system, as a shell finds them.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <unistd.h>

// The path of a program in a folder of PATH; empty when there is none.
inline std::string programPath(const std::string& name)
{
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::filesystem::path candidate = std::filesystem::path(folder) / name;
        if (std::filesystem::is_regular_file(candidate) &&
            access(candidate.c_str(), X_OK) == 0)
            return candidate.string();
    }
    return {};
}
