// The program with a fault. The environment also describes what is watched:
//   NORV_FAULT_SECRET  hex digits: as text and as a number they must not be in any
//                      block of memory that is given back, nor may such a block tell
//                      the residues of a number that a search from them starts at
#include "app/driver.h"
#include "platform/process.h"
#include "prime/big_number.h"
#include "prime/candidate_sieve.h"
#include "tests/faults/faulty_process.h"
#include "tests/faults/memory.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

// What the workers' searches for primes start at, window by window.
void addStarts(const std::vector<std::uint8_t>& base)
{
    constexpr int windows = 8;
    const int bits = static_cast<int>(base.size()) * 8;
    const Context context(BN_CTX_new());
    const SecretNumber window(
        BN_bin2bn(base.data(), static_cast<int>(base.size()), nullptr));
    const SecretNumber start(BN_new());
    std::array<std::uint16_t, smallPrimeCount> residues{};
    std::vector<std::uint8_t> bytes(base.size());
    for (int i = 0; i < windows; ++i) {
        BN_add_word(window.get(), maxDeltaFor(bits));
        for (const int mode : {modeFromBase, modeFromBase | modeSafe}) {
            BN_copy(start.get(), window.get());
            nextCandidate(start.get(), bits, mode, residues.data(), context.get());
            BN_bn2binpad(start.get(), bytes.data(), static_cast<int>(bytes.size()));
            addSecretStart(bytes);
        }
    }
}

void watchFor(const char* digits)
{
    if (!digits || !*digits)
        return;
    const std::string text(digits);
    std::string pairs;
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 2 <= text.size(); i += 2) {
        const std::string pair = text.substr(i, 2);
        pairs += pair + " ";
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(pair, nullptr, 16)));
    }
    for (const std::string& written : {text, pairs}) {
        addSecret(std::vector<std::uint8_t>(written.begin(), written.end()));
        addSecretText(std::wstring(written.begin(), written.end()));
    }
    addSecret(bytes);
    addStarts(bytes);
    std::reverse(bytes.begin(), bytes.end());
    addSecret(bytes);
    watchForSecrets(true);
}

} // namespace

int main()
{
    guardFaultyProcess();
    watchFor(std::getenv("NORV_FAULT_SECRET"));

    armFault(describedFault());
    prepareProcess();
    showOutputAtOnce();
    const int exitCode = runProgram();
    disarmFault();
    return exitCode;
}
