// Any hex text: counted and decoded alike, whatever room there is for it.
#include "app/base_input.h"

#include "tests/fuzz/require.h"
#include "tests/fuzz/wide_text.h"

#include <memory>

// The first byte is the room; the text follows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const auto room = static_cast<std::int32_t>(data[0]);
    const std::wstring text = wideText(data + 1, size - 1);

    const std::int32_t count = decodeHex(nullptr, 0, text.c_str());
    REQUIRE(count >= 0 && static_cast<std::size_t>(count) <= text.size() / 2);
    // Of their exact sizes, so that a byte too many is seen.
    const std::unique_ptr<std::uint8_t[]> all(
        new std::uint8_t[static_cast<std::size_t>(count)]);
    const std::unique_ptr<std::uint8_t[]> some(
        new std::uint8_t[static_cast<std::size_t>(room)]);
    REQUIRE(decodeHex(all.get(), count, text.c_str()) == count);
    REQUIRE(decodeHex(some.get(), room, text.c_str()) == count);

    // Of the text that is decoded only digits and blanks remain to be compared.
    std::int32_t i = 0;
    for (std::size_t at = 0; i < count; ++i, at += 2) {
        at = text.find_first_not_of(L' ', at);
        const auto value =
            static_cast<std::uint8_t>(std::stoi(text.substr(at, 2), nullptr, 16));
        REQUIRE(all[static_cast<std::size_t>(i)] == value);
        REQUIRE(i >= room || some[static_cast<std::size_t>(i)] == value);
    }
    return 0;
}
