// Any bytes on a stream: a base of the size asked for or none, and never more read
// than three characters a byte.
#include "app/base_input.h"

#include "tests/fuzz/require.h"
#include "tests/support/big.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{

struct CloseFile {
    void operator()(std::FILE* file) const
    {
        std::fclose(file);
    }
};

// The digits that make the base, by way of another reading of the same rules; fewer
// than 2 x `bytes` when there are not enough.
std::string digitsOf(std::string text, std::size_t bytes)
{
    // A zero ends the text.
    text.resize(std::min(text.find('\0'), text.size()));
    std::string digits;
    for (std::size_t at = 0; at < text.size() && digits.size() < 2 * bytes;) {
        if (text[at] == '\\') {
            at += 2;
        } else if (std::string(" \r\n").find(text[at]) != std::string::npos) {
            ++at;
        } else {
            const std::string pair = text.substr(at, 2);
            if (pair.size() < 2 ||
                pair.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos)
                break;
            digits += pair;
            at += 2;
        }
    }
    return digits;
}

} // namespace

// The first byte is the size of the base; what follows stands on the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::size_t bytes = 1 + data[0] % 64;
    std::vector<std::uint8_t> content(data + 1, data + size);
    const std::unique_ptr<std::FILE, CloseFile> stream(
        fmemopen(content.data(), content.size(), "rb"));
    REQUIRE(stream);

    const BigNumber base(
        readBaseFromStream(static_cast<std::int32_t>(8 * bytes), stream.get()));
    REQUIRE(std::ftell(stream.get()) ==
            static_cast<long>(std::min(content.size(), 3 * bytes)));

    const bool complete = content.size() >= 3 * bytes;
    const std::string text(content.begin(),
                           content.begin() +
                               static_cast<std::ptrdiff_t>(complete ? 3 * bytes : 0));
    const std::string digits = digitsOf(text, bytes);
    REQUIRE((base != nullptr) == (complete && digits.size() == 2 * bytes));
    REQUIRE(!base || BN_cmp(base.get(), fromHex(digits).get()) == 0);
    return 0;
}
