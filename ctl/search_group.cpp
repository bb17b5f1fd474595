#include "ctl/search_group.h"

#include <utility>

namespace
{

void runEnded(SearchGroup& group, std::size_t index, RunOutcome outcome)
{
    const bool decides = group.outcome.kind == SearchOutcome::Kind::stopped;
    if (decides && outcome.kind == RunOutcome::Kind::found)
        group.outcome = {SearchOutcome::Kind::found, std::move(outcome.prime),
                         std::move(group.bases[index])};
    else if (decides && outcome.kind == RunOutcome::Kind::failed)
        group.outcome = {SearchOutcome::Kind::failed, nullptr, nullptr,
                         std::move(outcome.message)};
    if (group.outcome.kind != SearchOutcome::Kind::stopped)
        stopGroup(group);
    if (--group.running != 0)
        return;
    const auto ended = std::move(group.ended);
    ended(std::move(group.outcome)); // which may destroy the group
}

} // namespace

int runsFor(int threads)
{
    return (threads + mostThreadsOfRun - 1) / mostThreadsOfRun;
}

void startGroup(SearchGroup& group, uv_loop_t* loop, const RunOrder& order,
                const BIGNUM* base, int shares, std::function<void(SearchOutcome)> ended)
{
    const int runs = runsFor(order.threads);
    group.ended = std::move(ended);
    for (int i = 0; i < runs; ++i) {
        group.bases.push_back(spreadBase(base, order.bits, {i, runs * shares}));
        group.runs.push_back(std::make_unique<NorvRun>());
    }
    group.running = group.runs.size();
    for (std::size_t i = 0; i < group.runs.size(); ++i) {
        const int rest = static_cast<int>(i) < order.threads % runs ? 1 : 0;
        RunOrder part = order;
        part.threads = order.threads / runs + rest;
        startRun(
            *group.runs[i], loop, std::move(part), group.bases[i].get(),
            [&group, i](RunOutcome outcome) { runEnded(group, i, std::move(outcome)); });
    }
}

void stopGroup(SearchGroup& group)
{
    for (const auto& run : group.runs)
        stopRun(*run);
}

void killGroup(SearchGroup& group)
{
    for (const auto& run : group.runs)
        killRun(*run);
}
