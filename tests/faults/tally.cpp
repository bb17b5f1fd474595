#include "tests/faults/tally.h"

#include <iostream>

namespace
{

const char* nameOf(FaultKind kind)
{
    switch (kind) {
    case FaultKind::libraryCall:
        return "calls of libcrypto";
    case FaultKind::libraryMemory:
        return "allocations of libcrypto";
    case FaultKind::ownMemory:
        return "own allocations";
    case FaultKind::systemCall:
        return "system calls";
    }
    return "";
}

constexpr long mostPrinted = 40;

} // namespace

std::string inWords(const Fault& fault)
{
    std::string words = nameOf(fault.kind);
    if (!fault.function.empty())
        words += " " + fault.function;
    words += " number " + std::to_string(fault.number);
    if (fault.kind == FaultKind::systemCall)
        words += " errno " + std::to_string(fault.error);
    return fault.late ? words + " late" : words;
}

void Tally::count(const Fault& fault, const FaultReport& report)
{
    ++runs_;
    if (!report.struck)
        return;
    ++points_[fault.kind];
    functions_.insert(report.function);
}

void Tally::complain(const std::string& text)
{
    if (++failures_ <= mostPrinted)
        std::cout << "FAILED: " << where << ": " << text << std::endl;
}

void Tally::expect(bool holds, const std::string& text)
{
    if (!holds)
        complain(text);
}

bool Tally::struckIn(const std::string& function) const
{
    return functions_.count(function) != 0;
}

int Tally::finish(const std::string& program, std::span<const FaultKind> kinds) const
{
    bool allStruck = true;
    std::cout << program << ": ";
    for (const FaultKind kind : kinds) {
        const auto found = points_.find(kind);
        const long points = found == points_.end() ? 0 : found->second;
        std::cout << points << " failed " << nameOf(kind) << ", ";
        allStruck = allStruck && points > 0;
    }
    std::cout << runs_ << " runs, " << failures_ << " failures" << std::endl;
    return failures_ == 0 && allStruck ? 0 : 1;
}
