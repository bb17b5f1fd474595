#include "tests/fakes/exponentiation_way.h"

std::atomic<ExponentiationWay> fakeWay{ExponentiationWay::slidingWindow};
std::array<std::atomic<int>, wayCount> fakeWayUses{};

ExponentiationWay rejectionWay(int /*bits*/)
{
    return fakeWay;
}

ExponentiationWay singleWay(int /*bits*/, bool baseTwo)
{
    const ExponentiationWay way = fakeWay;
    if (way == ExponentiationWay::twoAtOnce)
        return ExponentiationWay::constantTime;
    return way == ExponentiationWay::squarings && !baseTwo
               ? ExponentiationWay::slidingWindow
               : way;
}

ExponentiationWay witnessWay(int bits)
{
    const ExponentiationWay way = fakeWay;
    return way == ExponentiationWay::twoAtOnce ? way : singleWay(bits, false);
}

void noteExponentiations(ExponentiationWay way, int count, double /*seconds*/)
{
    fakeWayUses[static_cast<std::size_t>(way)] += count;
}
