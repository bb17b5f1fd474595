#include "tests/faults/imports.h"

#include "tests/support/process.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

std::vector<std::string> importsOf(const std::string& program, const std::string& version)
{
    Process nm("/usr/bin/nm", {"-D", "--undefined-only", program});
    const Ending ending = nm.wait();
    if (ending.exitCode != 0)
        throw std::runtime_error("nm: " + ending.errors);

    std::vector<std::string> names;
    std::istringstream words(ending.output);
    for (std::string word; words >> word;) {
        const auto at = word.find('@');
        if (at != std::string::npos && word.compare(at + 1, version.size(), version) == 0)
            names.push_back(word.substr(0, at));
    }
    std::sort(names.begin(), names.end());
    if (names.empty())
        throw std::runtime_error(program + " imports nothing of " + version);
    return names;
}
