// The figures of norv and of libcrypto side by side.
#pragma once

#include <string>
#include <vector>

// What searches of one kind and size took: CPU time in seconds, each of norv and each of
// libcrypto's own generator.
struct Comparison {
    int bits = 0;
    bool safe = false;
    std::vector<double> norv;
    std::vector<double> libcrypto;
};

// A mean and its standard error.
struct Mean {
    double value = 0;
    double error = 0;
};

// The mean of two samples or more.
Mean meanOf(const std::vector<double>& samples);

// The ratio of two independent means, both above 0; its error in first approximation.
Mean ratioOf(const Mean& numerator, const Mean& denominator);

// What a comparison says to people, several lines. Each side has two searches or more.
// Where a side's times are all 0, since the system counts in longer steps, there is no
// ratio.
std::string comparisonText(const Comparison& comparison);
