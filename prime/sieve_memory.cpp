#include "prime/sieve_memory.h"

#include <atomic>
#include <new>

namespace
{

constexpr std::size_t bitsInByte = 8;
constexpr std::size_t mostSharesOfRest = 16;
// About what the exponentiations of 63 threads take at 2048 bits; a guess for other
// sizes.
constexpr std::size_t memoryLeft = std::size_t{1} << 20;
constexpr std::size_t fewBytes = std::size_t{16} << 10;
// A shorter segment is not worth finding the larger primes' indices for.
constexpr std::uint32_t leastHalvedReach = std::uint32_t{1} << 17;

std::atomic<std::size_t> reserved{0};

// Shortens the plan to `most` bytes.
void fitInto(SievePlan& plan, std::size_t most)
{
    while (segmentBytes(plan) > most && plan.reach > leastHalvedReach) {
        plan.reach /= 2;
        plan.segmentLength /= 2;
    }
    if (segmentBytes(plan) > most)
        plan.reach = 0;
}

} // namespace

std::size_t segmentBytes(const SievePlan& plan)
{
    return plan.reach == 0 ? 0
                           : (std::size_t{plan.reach} + plan.segmentLength) / bitsInByte;
}

SieveMemory::~SieveMemory()
{
    reserved -= bytes_;
}

SieveMemory reserveSieveMemory(SievePlan& plan)
{
    const SievePlan wanted = plan;
    std::size_t before = reserved;
    do {
        plan = wanted;
        fitInto(plan, (sieveMemoryLimit - before) / mostSharesOfRest);
    } while (!reserved.compare_exchange_weak(before, before + segmentBytes(plan)));
    SieveMemory memory;
    memory.bytes_ = segmentBytes(plan);
    return memory;
}

bool leavesMemory(std::size_t taken)
{
    if (taken < fewBytes)
        return true;
    // Calls of the functions: the compiler may leave out a new-expression whose memory is
    // not used.
    void* spare = ::operator new[](memoryLeft, std::nothrow);
    ::operator delete[](spare);
    return spare != nullptr;
}
