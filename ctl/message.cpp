#include "ctl/message.h"

#include <array>
#include <cmath>
#include <cstdio>

void say(const std::string& line)
{
    std::string text = "norvctl: " + line;
    // A file's name may have line ends, and codes that a terminal obeys.
    for (char& character : text)
        if (static_cast<unsigned char>(character) < ' ' || character == '\x7f')
            character = '?';
    text += '\n';
    // In one piece, so that lines of several programs do not mix.
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    std::fflush(stderr);
}

std::string errorText(const std::error_code& error)
{
    return error.default_error_condition().message();
}

std::string durationText(double seconds)
{
    struct Unit {
        double seconds;
        const char* name;
    };
    if (seconds <= 0)
        return "0 s";
    constexpr Unit units[] = {{86400, "days"}, {3600, "h"}, {60, "min"}, {1, "s"}};
    double value = seconds * 1000;
    const char* name = "ms";
    for (const Unit& unit : units)
        if (seconds >= 0.995 * unit.seconds &&
            (unit.seconds != 86400 || seconds >= 172800)) {
            value = seconds / unit.seconds;
            name = unit.name;
            break;
        }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), value < 9.95 ? "%.1f %s" : "%.0f %s", value,
                  name);
    return text.data();
}

std::string searchText(int bits, bool safe, int threads)
{
    return std::string(safe ? "safe prime" : "prime") + " of " + std::to_string(bits) +
           " bits, " + std::to_string(threads) + (threads == 1 ? " thread" : " threads");
}
