// What goes into a run of the program and what comes out of it, as text.
#pragma once

#include "tests/support/process.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

// A path as an argument: UTF-8 everywhere.
inline std::string asArgument(const std::filesystem::path& path)
{
    const auto bytes = path.u8string();
    return {bytes.begin(), bytes.end()};
}

// "0A 1B " for the hex digits "0A1B": the text of a result.
inline std::string resultText(const std::string& digits)
{
    std::string text;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        text += digits.substr(i, 2) + ' ';
    return text;
}

// The hex digits of a result's text, without leading zeros; none for a text that
// is not pairs of upper-case digits with a blank behind each.
inline std::string digitsOf(const std::string& text)
{
    std::string digits = text;
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    if (digits.find_first_not_of("0123456789ABCDEF") != std::string::npos ||
        text != resultText(digits))
        return {};
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

// The exit code of a run whose result has `bits` bits.
inline int exitCodeFor(int bits)
{
    return seenExitCode((bits + 7) / 8 * 3);
}

inline std::string started(const std::string& kind, int bits, int threads)
{
    return "\nGeneration is started!\n" + kind + " " + std::to_string(bits) +
           " bits in " + std::to_string(threads) + " threads.\n";
}

// The finish message of a run of `threads` workers, its seconds taken out (see
// withoutSeconds).
inline std::string finished(const std::string& kind, int bits, int threads)
{
    return "\nGeneration finished # seconds\n" + kind + " " + std::to_string(bits) +
           " bits in " + std::to_string(threads + 1) + " threads.\n";
}

// The output with "#" for the seconds of the finish message, which depend on the
// machine.
inline std::string withoutSeconds(std::string output)
{
    const std::string before = "Generation finished ";
    const auto found = output.find(before);
    if (found == std::string::npos)
        return output;
    const auto digits = found + before.size();
    const auto end = output.find_first_not_of("0123456789", digits);
    return output.substr(0, digits) + (end == digits ? "none" : "#") + output.substr(end);
}
