#include "tests/faults/pieces.h"

#include "app/base_input.h"
#include "app/result_output.h"
#include "prime/base_bits.h"
#include "search/search_state.h"
#include "search/settings.h"
#include "tests/faults/each_call.h"
#include "tests/support/big.h"

#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

namespace
{

const char* const longBase =
    "D1A3'57C2'9E84'6BF0'1D35'A7E9'C24B'8F60'3759'E1AD'C68B'204F";
constexpr int longBaseBits = 192;

using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// The base's bytes as pairs of these digits, each with a blank after it.
std::string inPairs(const Bytes& bytes, const char* digits)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += {digits[byte >> 4], digits[byte & 15], ' '};
    return text;
}

void failInBaseInput(bool endsEarly)
{
    const Bytes bytes = bigEndian(longBase);
    std::string text = inPairs(bytes, "0123456789abcdef");
    const auto fail = [&](const Fault& fault) {
        forgetSecrets();
        // The last byte stays, and so may what eight bytes have in common with it.
        addSecret(std::span(bytes).first(bytes.size() - 1));
        addSecret({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        const Stream stream(fmemopen(text.data(), text.size() - (endsEarly ? 3 : 0), "r"),
                            std::fclose);
        SecretNumber base;
        bool thrown = false;
        watchForSecrets(true);
        armFault(fault);
        try {
            base.reset(readBaseFromStream(longBaseBits, stream.get()));
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        disarmFault();
        tally.expect(thrown == struckIn("new"), "bad_alloc");
        tally.expect((base != nullptr) == (!faultReport->struck && !endsEarly), "base");
        if (base)
            tally.expect(BN_cmp(base.get(), fromHex(longBase).get()) == 0, "other base");
        base.reset();
        watchForSecrets(false);
    };
    failEachCall(endsEarly ? "base input that ends early" : "base input", fail);
}

void failInResultOutput()
{
    const BigNumber prime = fromHex(longBase);
    const std::string expected =
        "Result:" + inPairs(bigEndian(longBase), "0123456789ABCDEF");
    resultPrime = prime.get();
    noPrompt = 0;
    failEachCall("result output", [&](const Fault& fault) {
        std::array<char, 256> output{};
        const Stream stream(fmemopen(output.data(), output.size(), "w"), std::fclose);
        std::int32_t written = -1;
        armFault(fault);
        try {
            written = writeResult(stream.get());
        } catch (const std::bad_alloc&) {
            written = -2;
        }
        disarmFault();
        std::fflush(stream.get());
        if (struckIn("new")) {
            tally.expect(written == -2 && output[0] == '\0', "result in spite of fault");
        } else {
            tally.expect(written == longBaseBits / 8 * 3, "characters written");
            tally.expect(output.data() == expected, "text");
            // The text is left to the process's end, and it alone.
            blocksLeft.own = 1;
        }
    });
    resultPrime = nullptr;
}

void failInSharedState()
{
    failEachCall("shared state", [](const Fault& fault) {
        TrackedLock lock;
        const BigNumber base = fromHex(longBase);
        const BigNumber earlier = fromHex("7");
        resultPrime = earlier.get();
        armFault(fault);
        setBase(lock, base.get(), longBaseBits);
        const SecretNumber first(getNextBase(lock));
        const SecretNumber second(getNextBase(lock));
        setPrime(lock, base.get());
        disarmFault();
        const BigNumber published(resultPrime.exchange(nullptr));
        sharedBase = nullptr;

        tally.expect(baseBits == longBaseBits, "size");
        tally.expect(lock.depth == 0 && lock.holderName == nullptr, "lock held");
        const int copies = (first ? 1 : 0) + (second ? 1 : 0) + (published ? 1 : 0);
        // An advance that fails costs no copy; a copy that fails is null.
        const bool copyLost = faultReport->struck && !struckIn("BN_add_word");
        tally.expect(copies == (copyLost ? 2 : 3), std::to_string(copies) + " copies");
        if (published)
            tally.expect(BN_cmp(published.get(), base.get()) == 0, "other prime");
        if (!faultReport->struck)
            tally.expect(BN_cmp(first.get(), second.get()) < 0, "same window twice");
    });
}

} // namespace

void failInFrontEnd()
{
    failInBaseInput(false);
    failInBaseInput(true);
    failInResultOutput();
    failInSharedState();
}
