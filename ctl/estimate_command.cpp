#include "ctl/estimate_command.h"

#include "ctl/estimate.h"
#include "ctl/message.h"
#include "ctl/output_file.h"

#include <array>
#include <cstdio>

namespace
{

constexpr int usualBits[] = {512, 1024, 1536, 2048, 3072, 4096, 6144, 8192};

std::string row(const std::string& bits, const std::string& kind, const std::string& mean,
                const std::string& median, const std::string& most)
{
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%5s  %-10s  %9s  %9s  %9s\n", bits.c_str(),
                  kind.c_str(), mean.c_str(), median.c_str(), most.c_str());
    return text.data();
}

Estimate estimateOf(const Options& options, int bits, bool safe)
{
    return estimateSearch(bits, safe, options.threads, usableProcessors(),
                          measureCosts(bits, safe, options.threads));
}

std::string rowOf(const Options& options, int bits, bool safe)
{
    const Estimate estimate = estimateOf(options, bits, safe);
    return row(std::to_string(bits), safe ? "safe prime" : "prime",
               durationText(estimate.mean), durationText(secondsFor(estimate, 0.5)),
               durationText(secondsFor(estimate, 0.9)));
}

// For programs. Differences of small chances count, so they get all their digits.
std::string pointLines(const Estimate& estimate)
{
    std::string lines;
    for (const Estimate::Point& point : estimate.points) {
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "%.9g %.12g\n", point.seconds,
                      point.chance);
        lines += text.data();
    }
    return lines;
}

std::string tableOf(const Options& options)
{
    std::string table = row("bits", "kind", "mean", "median", "90 %");
    if (options.bits != 0) {
        table += rowOf(options, options.bits, options.safe);
    } else {
        for (const int bits : usualBits) {
            if (!options.safe)
                table += rowOf(options, bits, false);
            table += rowOf(options, bits, true);
        }
    }
    table += "on " + std::to_string(options.threads) +
             (options.threads == 1 ? " thread\n" : " threads\n");
    return table;
}

} // namespace

int tellEstimate(const Options& options)
{
    Output output;
    const std::string failure = addResult(
        output, options.points
                    ? pointLines(estimateOf(options, options.bits, options.safe))
                    : tableOf(options));
    if (failure.empty())
        return 0;
    say(failure);
    return exitNo;
}
