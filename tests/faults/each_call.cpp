#include "tests/faults/each_call.h"

#include "tests/fakes/random_bytes.h"
#include "tests/faults/listed_calls.h"
#include "tests/support/big.h"

#include <algorithm>
#include <array>

Tally tally;
int faultStep = 1;
LiveBlocks blocksLeft{};

namespace
{

constexpr int firstCalls = 10;

using FaultyRun = std::function<void(const Fault&)>;

// Returns whether the fault struck.
bool failOnce(const std::string& name, const FaultyRun& run, const Fault& fault)
{
    tally.where = name + ", " + inWords(fault);
    LiveBlocks before = liveBlocks();
    blocksLeft = {};
    run(fault);
    before.own += blocksLeft.own;
    before.crypto += blocksLeft.crypto;
    tally.expect(liveBlocks() == before, "blocks left");
    tally.count(fault, *faultReport);
    const MemoryErrors errors = takeMemoryErrors();
    tally.expect(errors.foreignFrees == 0, "a block given back twice");
    tally.expect(errors.secretFrees == 0, "something secret in a freed block of " +
                                              std::to_string(errors.secretBlockSize));
    return faultReport->struck;
}

// The first calls of every function, which steps may miss.
void failFirstCalls(const std::string& name, const FaultyRun& run, bool late)
{
    for (const ListedFunction& function : cryptoFunctions())
        for (int number = 1; function.canFail && number <= 2; ++number)
            if (!failOnce(name, run,
                          {FaultKind::libraryCall, function.name, number, 0, late}))
                break;
}

} // namespace

void failEachCall(const std::string& name, const std::function<void(const Fault&)>& run)
{
    for (const FaultKind kind : kindsOfFault)
        for (const bool late : {false, true}) {
            if (late && kind != FaultKind::libraryCall)
                continue;
            for (int number = 1;; number += number < firstCalls ? 1 : faultStep) {
                if (!failOnce(name, run, {kind, {}, number, 0, late}))
                    break;
            }
            if (faultStep > 1 && kind == FaultKind::libraryCall)
                failFirstCalls(name, run, late);
        }
}

bool struckIn(const char* function)
{
    return faultReport->struck && std::string(faultReport->function) == function;
}

OwnedCallback makeCallback(int (*function)(int, int, GenCallback*), void* argument)
{
    OwnedCallback callback(BN_GENCB_new());
    BN_GENCB_set(callback.get(), function, argument);
    return callback;
}

Bytes bigEndian(const std::string& digits)
{
    const BigNumber number = fromHex(digits);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(number.get())));
    BN_bn2bin(number.get(), bytes.data());
    return bytes;
}

void addSecretBothWays(std::span<std::uint8_t> bytes)
{
    addSecret(bytes);
    std::reverse(bytes.begin(), bytes.end());
    addSecret(bytes);
}

void addSecretNumber(const BIGNUM* number)
{
    std::array<std::uint8_t, 128> bytes{};
    const SecretNumber copy(BN_dup(number));
    for (int step = 0; step < 3; ++step) {
        const auto size = static_cast<std::size_t>(BN_num_bytes(copy.get()));
        if (size > bytes.size())
            return;
        BN_bn2bin(copy.get(), bytes.data());
        addSecretBothWays(std::span(bytes).first(size));
        if (step == 0)
            BN_sub_word(copy.get(), 1);
        else
            BN_rshift1(copy.get(), copy.get());
    }
}

void addStart(const BIGNUM* candidate)
{
    std::array<std::uint8_t, 128> bytes{};
    const auto size = static_cast<std::size_t>(BN_num_bytes(candidate));
    if (size < 32 || size > bytes.size())
        return;
    BN_bn2bin(candidate, bytes.data());
    addSecretStart(std::span(bytes).first(size));
}

void drawAnything()
{
    fakeRandomBytes = [state = std::uint64_t{1}](std::uint8_t* buffer,
                                                 std::int32_t count) mutable {
        const HarnessScope harness;
        for (std::int32_t i = 0; i < count; ++i) {
            state = state * 6364136223846793005U + 1442695040888963407U;
            buffer[i] = static_cast<std::uint8_t>(state >> 56);
        }
        std::array<std::uint8_t, 128> copy{};
        const auto size = std::min(copy.size(), static_cast<std::size_t>(count));
        std::copy_n(buffer, size, copy.begin());
        addSecretBothWays(std::span(copy).first(size));
        return count;
    };
}
