// The command line of norvctl.
#pragma once

#include "ctl/formats.h"
#include "ctl/search_group.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

inline constexpr int exitNo = 1;
inline constexpr int exitUsage = 2;
inline constexpr int exitNorv = 3;

// What to do, each field within its range.
struct Options {
    enum class Command {
        generate,
        check,
        compare,
        stop,
        estimate
    } command = Command::generate;

    int bits = 0; // a multiple of 8, 64 to 65536; for estimate also 0: the usual sizes
    bool safe = false;
    int threads = 0; // 1 to 4096
    Format format = Format::hex;
    int count = 1;
    Share share;
    std::optional<std::string> base; // hex
    std::string baseFile;            // empty: none; "-": standard input
    std::optional<std::string> from;
    std::string output;  // empty: standard output
    double timeout = 0;  // seconds; 0: none
    double seconds = 30; // of a comparison
    bool points = false; // of an estimate
    bool quiet = false;
    bool verbose = false;
    std::string norv;       // path; empty: to be found
    std::string file = "-"; // to check
    bool replay = false;
    std::string semaphore = "stopPrimeGeneration";
};

// An end instead of a command: a text for standard output (exit code 0), or a line for
// standard error without its line end and without the program's name (exitUsage).
struct Leave {
    int exitCode = 0;
    std::string text;
};

// Reads the arguments, the program's own name first. `processors`: the threads where none
// are asked for.
std::variant<Options, Leave> readOptions(const std::vector<std::string>& arguments,
                                         int processors);
