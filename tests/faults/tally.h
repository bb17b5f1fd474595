// The figures of a fault program, and its complaints.
#pragma once

#include "tests/faults/fault.h"

#include <map>
#include <set>
#include <span>
#include <string>

class Tally
{
public:
    // A run in which this fault happened, or none.
    void count(const Fault& fault, const FaultReport& report);
    // A failed expectation: said at once, with what stood in `where`.
    void complain(const std::string& text);
    void expect(bool holds, const std::string& text);

    // Prints the figures. Returns the exit code of the program, which fails also when
    // no fault of one of the kinds struck.
    int finish(const std::string& program, std::span<const FaultKind> kinds) const;

    bool struckIn(const std::string& function) const;

    std::string where; // the run at hand, in words

private:
    std::map<FaultKind, long> points_;
    std::set<std::string> functions_;
    long runs_ = 0;
    long failures_ = 0;
};

std::string inWords(const Fault& fault);
