#include "ctl/formats.h"

#include "ctl/dh_parameters.h"
#include "ctl/generator.h"
#include "ctl/json_form.h"
#include "ctl/number_text.h"
#include "ctl/secret_text.h"
#include "platform/clock.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <chrono>
#include <initializer_list>
#include <new>
#include <string_view>

namespace
{

SecretText primeHex(const Found& found)
{
    return SecretText(hexText(found.prime.get(), found.bits / 8));
}

// All of them in one text, for which no copy of the secret ones stays.
std::string joined(std::initializer_list<std::string_view> parts)
{
    std::size_t size = 0;
    for (const std::string_view part : parts)
        size += part.size();
    std::string text;
    text.reserve(size);
    for (const std::string_view part : parts)
        text += part;
    return text;
}

// `value` in decimal, with leading zeros up to `width`.
std::string padded(std::int64_t value, std::size_t width)
{
    std::string text = std::to_string(value);
    text.insert(0, width - std::min(width, text.size()), '0');
    return text;
}

// YYYYMMDDHHMMSS in UTC, of seconds since 1970.
std::string timestamp(std::int64_t seconds)
{
    using namespace std::chrono;
    const sys_seconds time{std::chrono::seconds(seconds)};
    const sys_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    return padded(static_cast<int>(date.year()), 4) +
           padded(static_cast<unsigned>(date.month()), 2) +
           padded(static_cast<unsigned>(date.day()), 2) +
           padded(clock.hours().count(), 2) + padded(clock.minutes().count(), 2) +
           padded(clock.seconds().count(), 2);
}

std::optional<std::string> dhParameters(const Found& found, Encoding encoding)
{
    const BN_ULONG generator = smallestGenerator(found.prime.get());
    if (generator == 0)
        return std::nullopt;
    return encodeDhParameters(found.prime.get(), generator, encoding);
}

std::optional<std::string> json(const Found& found)
{
    JsonForm form;
    form.safe = found.safe;
    form.bits = found.bits;
    form.prime = hexText(found.prime.get(), found.bits / 8);
    form.base = hexText(found.base.get(), found.bits / 8);
    form.from = found.fromText;
    form.threads = found.threads;
    form.seconds = found.seconds;
    form.norvVersion = found.norvVersion;
    form.norvctlVersion = norvctlVersion();
    form.libcryptoVersion = libcryptoVersion();
    return writeJson(form);
}

std::string cArray(const Found& found)
{
    const SecretText digits = primeHex(found);
    const std::string& hex = digits.text;
    const std::string count = std::to_string(hex.size() / 2);
    std::string text;
    constexpr std::size_t otherCharacters = 200;
    constexpr std::size_t charactersOfAByte = 8; // with its share of a line's start
    text.reserve(otherCharacters + charactersOfAByte * hex.size() / 2);
    text += found.safe ? "/* A safe prime of " : "/* A prime of ";
    text += std::to_string(found.bits) + " bits, the most significant byte first. */\n" +
            "static const unsigned char prime[" + count + "] = {";
    constexpr std::size_t digitsInALine = 24;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        text += i % digitsInALine == 0 ? "\n    0x" : " 0x";
        text.append(hex, i, 2);
        if (i + 2 < hex.size())
            text += ',';
    }
    text += "\n};\nstatic const unsigned int prime_length = ";
    text += count;
    text += ";\n";
    return text;
}

std::optional<std::string> moduliLine(const Found& found)
{
    const BN_ULONG generator = smallestGenerator(found.prime.get());
    if (generator == 0)
        return std::nullopt;
    SecretText modulus = primeHex(found);
    std::transform(modulus.text.begin(), modulus.text.end(), modulus.text.begin(),
                   [](unsigned char digit) { return std::toupper(digit); });
    constexpr char safePrimeType[] = " 2 ";
    constexpr int sieved = 2;
    constexpr int millerRabin = 4;
    const std::string others =
        timestamp(calendarTime()) + safePrimeType + std::to_string(sieved | millerRabin) +
        ' ' + std::to_string(found.tried) + ' ' + std::to_string(found.bits - 1) + ' ' +
        std::to_string(generator) + ' ';
    return joined({others, modulus.text, "\n"});
}

std::optional<std::string> bytesOf(const Found& found, Format format)
{
    switch (format) {
    case Format::hex:
        return joined({primeHex(found).text, "\n"});
    case Format::dec:
        return joined({SecretText(decimalText(found.prime.get())).text, "\n"});
    case Format::pem:
        return dhParameters(found, Encoding::pem);
    case Format::der:
        return dhParameters(found, Encoding::der);
    case Format::json:
        return json(found);
    case Format::c:
        return cArray(found);
    case Format::moduli:
        return moduliLine(found);
    }
    return std::nullopt;
}

} // namespace

bool needsSafePrime(Format format)
{
    return format == Format::pem || format == Format::der || format == Format::moduli;
}

std::optional<std::string> inFormat(const Found& found, Format format)
{
    assert(found.safe || !needsSafePrime(format));
    try {
        return bytesOf(found, format);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}
