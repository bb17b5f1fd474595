#include "ctl/comparison.h"

#include "ctl/message.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace
{

std::string row(const char* name, const std::vector<double>& seconds)
{
    const Mean mean = meanOf(seconds);
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%-10s %8s +- %-8s %zu searches\n", name,
                  durationText(mean.value).c_str(), durationText(mean.error).c_str(),
                  seconds.size());
    return text.data();
}

std::string ratioLine(const Comparison& comparison)
{
    const Mean numerator = meanOf(comparison.libcrypto);
    const Mean denominator = meanOf(comparison.norv);
    if (numerator.value <= 0 || denominator.value <= 0)
        return "too short to measure: the system counts CPU time in longer steps\n";
    const Mean ratio = ratioOf(numerator, denominator);
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(),
                  "libcrypto takes %.2f +- %.2f times the CPU time of norv\n",
                  ratio.value, ratio.error);
    return text.data();
}

} // namespace

Mean meanOf(const std::vector<double>& samples)
{
    const auto count = static_cast<double>(samples.size());
    double sum = 0;
    for (const double sample : samples)
        sum += sample;
    const double mean = sum / count;
    double squares = 0;
    for (const double sample : samples)
        squares += (sample - mean) * (sample - mean);
    return {mean, std::sqrt(squares / (count - 1) / count)};
}

Mean ratioOf(const Mean& numerator, const Mean& denominator)
{
    const double ratio = numerator.value / denominator.value;
    return {ratio, ratio * std::hypot(numerator.error / numerator.value,
                                      denominator.error / denominator.value)};
}

std::string comparisonText(const Comparison& comparison)
{
    return std::string(comparison.safe ? "safe prime" : "prime") + " of " +
           std::to_string(comparison.bits) +
           " bits, CPU time of one: mean +- standard error\n" +
           row("norv", comparison.norv) + row("libcrypto", comparison.libcrypto) +
           ratioLine(comparison);
}
