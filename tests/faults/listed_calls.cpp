#include "tests/faults/listed_calls.h"

#include "tests/support/process.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string_view>

std::set<std::string> importsOf(const std::string& program, const std::string& version)
{
    Process nm("/usr/bin/nm", {"-D", "--undefined-only", program});
    const Ending ending = nm.wait();
    if (ending.exitCode != 0)
        throw std::runtime_error("nm: " + ending.errors);

    std::set<std::string> names;
    std::istringstream lines(ending.output);
    for (std::string kind, name; lines >> kind >> name;) {
        const auto at = std::min(name.find('@'), name.size());
        const std::string_view found = std::string_view(name).substr(at);
        if (kind == "U" &&
            (version.empty() ? found.empty() : found.starts_with("@" + version)))
            names.insert(name.substr(0, at));
    }
    if (names.empty())
        throw std::runtime_error(program + " imports nothing of " + version);
    return names;
}

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

const std::vector<ListedFunction>& cryptoFunctions()
{
#define FAILS(name, type, parameters, arguments, failure) {#name, true},
#define MAKES(name, type, parameters, arguments, failure) {#name, true},
#define SUCCEEDS(name, type, parameters, arguments) {#name, false},
#define BY_HAND(name) {#name, true},
#define FRAMES(name) {#name, false},
    static const std::vector<ListedFunction> functions{
#include "tests/faults/crypto_calls.inc"
    };
    return functions;
#undef FAILS
#undef BY_HAND
}

const std::vector<ListedFunction>& systemFunctions()
{
#define FAILS(name, type, parameters, arguments, failure) {#name, true},
#define FAILS_AFTER(name, type, parameters, arguments, failure) {#name, true},
#define BY_HAND(name) {#name, true},
#define CANNOT_FAIL(name) {#name, false},
    static const std::vector<ListedFunction> functions{
#include "tests/faults/system_calls.inc"
    };
    return functions;
}

std::set<std::string> failableImports(const std::vector<ListedFunction>& listed,
                                      const std::string& version)
{
    const std::set<std::string> imported = importsOf(NORV_PROGRAM, version);
    std::set<std::string> failable;
    for (const ListedFunction& function : listed)
        if (function.canFail && imported.count(function.name) == 1)
            failable.insert(function.name);
    return failable;
}

void checkListed(const std::vector<ListedFunction>& listed, const std::string& library,
                 const std::string& version, Tally& tally)
{
    tally.where = "imports";
    std::set<std::string> names;
    for (const ListedFunction& function : listed)
        names.insert(function.name);
    const bool required = isListedSystem();
    const std::set<std::string> imported = importsOf(NORV_PROGRAM, version);
    for (const std::string& name : imported) {
        const std::string text = name + " is called and not listed";
        if (required)
            tally.expect(names.count(name) == 1, text);
        else if (names.count(name) == 0)
            std::cout << "warning: " << text << ", it never fails here" << std::endl;
    }
    std::cout << library << ": " << imported.size() << " functions imported, of those "
              << "listed: " << failableImports(listed, version).size() << " can fail\n";
}
