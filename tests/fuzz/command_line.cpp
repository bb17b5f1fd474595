// Any line is split and looked up in, in any order: arguments are parts of the line,
// and a lookup takes no more than two of them.
#include "app/command_line.h"

#include "tests/fuzz/require.h"
#include "tests/fuzz/wide_text.h"

#include <array>
#include <cstring>
#include <cwchar>

namespace
{

constexpr std::array<const wchar_t*, 8> names{
    L"-threads", L"-stopSemaphoreName", L"-base", L"-input", L"-outPrompt",
    L"-safe",    L"-noPrompt",          L"-test"};

void requireSound(const CommandLine& line, std::size_t length)
{
    REQUIRE(line.count >= 0);
    for (std::int32_t i = 0; i < line.count; ++i) {
        const wchar_t* argument = line.args[static_cast<std::size_t>(i)];
        REQUIRE(argument >= line.text.get());
        REQUIRE(argument + std::wcslen(argument) <= line.text.get() + length);
    }
}

void lookUp(CommandLine& line, std::uint8_t choice)
{
    const std::int32_t before = line.count;
    const wchar_t* name = names[choice % names.size()];
    std::int32_t taken = 0;
    if (choice < 0x80) {
        const wchar_t* value = nullptr;
        const int found = getOption(line, name, value, L"default");
        REQUIRE(found == 0 || found == 1);
        REQUIRE(!found || std::wcslen(value) < 1'000'000);
        taken = before - line.count;
        REQUIRE(taken <= 2 && (!found || taken >= 1));
    } else if (choice < 0xF0) {
        const int found = takeFlag(line, name);
        REQUIRE(found == before - line.count);
        taken = found;
    } else {
        const int index = choice - 0xF4;
        taken = removeArg(line, index);
        REQUIRE((taken == 1) == (index >= 0 && index < before));
    }
    REQUIRE(line.count == before - taken && taken >= 0);
}

} // namespace

// Up to the first zero the lookups, a byte each; behind it the line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto* zero = size == 0
                           ? nullptr
                           : static_cast<const std::uint8_t*>(std::memchr(data, 0, size));
    const std::size_t lookups = zero ? static_cast<std::size_t>(zero - data) : size;
    const std::wstring source =
        zero ? wideText(zero + 1, size - lookups - 1) : std::wstring();

    CommandLine line;
    tokenize(line, source.c_str());
    requireSound(line, source.size());
    for (std::size_t i = 0; i < lookups; ++i) {
        lookUp(line, data[i]);
        requireSound(line, source.size());
    }
    return 0;
}
