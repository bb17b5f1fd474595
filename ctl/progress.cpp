#include "ctl/progress.h"

#include "ctl/message.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace
{

constexpr int standardError = 2;
constexpr char eraseLine[] = "\r\033[K";

std::string percent(double chance)
{
    return std::to_string(static_cast<int>(std::floor(100 * chance))) + " %";
}

void write(const std::string& text)
{
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    std::fflush(stderr);
}

std::string startOf(const Progress& progress)
{
    return searchText(progress.bits, progress.safe, progress.threads) + ": ";
}

// A line that is longer than the terminal is wide could not be renewed.
std::string cutToTerminal(Progress& progress, std::string line)
{
    int width = 0;
    int height = 0;
    if (uv_tty_get_winsize(&progress.terminal, &width, &height) == 0 && width > 1 &&
        line.size() >= static_cast<std::size_t>(width))
        line.resize(static_cast<std::size_t>(width) - 1);
    return line;
}

} // namespace

void openProgress(Progress& progress, uv_loop_t* loop, bool quiet)
{
    progress.shown = !quiet;
    const char* noColor = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool wanted = (!noColor || *noColor == '\0') &&
                        (!terminal || std::string_view(terminal) != "dumb");
    if (quiet || !wanted || uv_guess_handle(standardError) != UV_TTY ||
        uv_tty_init(loop, &progress.terminal, standardError, 0) != 0)
        return;
    progress.live = true;
    uv_unref(reinterpret_cast<uv_handle_t*>(&progress.terminal));
}

void closeProgress(Progress& progress)
{
    clearProgress(progress);
    if (progress.live)
        uv_close(reinterpret_cast<uv_handle_t*>(&progress.terminal), nullptr);
    progress.live = false;
}

std::string progressText(const Progress& progress, double seconds)
{
    std::string text = durationText(seconds) + " of " +
                       durationText(progress.estimate.mean) + " on average, chance " +
                       percent(chanceBy(progress.estimate, seconds));
    if (progress.count > 1)
        text += "; " + std::to_string(progress.done) + " of " +
                std::to_string(progress.count) + " done, about " +
                durationText(progress.estimate.mean * (progress.count - progress.done)) +
                " left";
    return text;
}

void showStart(Progress& progress)
{
    if (!progress.shown)
        return;
    if (progress.live)
        showElapsed(progress, 0);
    else
        say(startOf(progress) + progressText(progress, 0));
}

void showElapsed(Progress& progress, double seconds)
{
    if (progress.live)
        showLine(progress, startOf(progress) + progressText(progress, seconds));
}

void showChecking(Progress& progress, double seconds)
{
    showLine(progress, startOf(progress) + "found after " + durationText(seconds) +
                           ", being checked");
}

void showLine(Progress& progress, const std::string& line)
{
    if (!progress.live)
        return;
    write(eraseLine + cutToTerminal(progress, line));
    progress.lineOpen = true;
}

void showEnd(Progress& progress, double seconds, double last)
{
    clearProgress(progress);
    if (!progress.shown)
        return;
    std::string line = startOf(progress);
    if (progress.count == 1)
        line += "found after " + progressText(progress, last);
    else
        line += std::to_string(progress.count) + " found after " + durationText(seconds) +
                ", " + durationText(seconds / progress.count) + " each; " +
                durationText(progress.estimate.mean) + " on average";
    say(line);
}

void showStopped(Progress& progress, double seconds)
{
    if (progress.shown && !progress.live)
        say(startOf(progress) + "ended after " + progressText(progress, seconds));
}

void clearProgress(Progress& progress)
{
    if (progress.lineOpen)
        write(eraseLine);
    progress.lineOpen = false;
}
