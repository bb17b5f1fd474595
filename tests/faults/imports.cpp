#include "tests/faults/imports.h"

#include "tests/support/process.h"

#include <algorithm>
#include <fstream>
#include <iostream>
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

namespace
{

// Whether this is Debian 12, whose libraries and compiler the lists are made for.
bool isListedSystem()
{
    std::ifstream release("/etc/os-release");
    bool debian = false;
    bool listed = false;
    for (std::string line; std::getline(release, line);) {
        debian = debian || line == "ID=debian";
        listed = listed || line == "VERSION_ID=\"12\"";
    }
    return debian && listed;
}

} // namespace

void checkListed(const std::vector<std::string>& imported,
                 const std::set<std::string>& listed, Tally& tally)
{
    const bool required = isListedSystem();
    for (const std::string& name : imported) {
        const std::string text = name + " is called and not listed";
        if (required)
            tally.expect(listed.count(name) == 1, text);
        else if (listed.count(name) == 0)
            std::cout << "warning: " << text << ", it never fails here" << std::endl;
    }
}
