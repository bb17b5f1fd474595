#include "ctl/check_text.h"

#include "ctl/check.h"
#include "ctl/dh_parameters.h"
#include "ctl/from_text.h"
#include "ctl/generator.h"
#include "ctl/json_form.h"
#include "ctl/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <thread>
#include <utility>
#include <variant>

namespace
{

constexpr int mostBits = 65536;

// What a text says of itself.
struct Claim {
    std::string form;               // its name, for people
    SecretNumber prime;             // null when memory was short
    bool safe = false;              // whether it is said to be a safe prime
    int bits = 0;                   // the size that it is said to have; 0: not said
    std::optional<DhParameters> dh; // without the prime
    std::optional<JsonForm> json;
};

// Why a text cannot be read.
struct Unreadable {
    int exitCode;
    std::string form;
    std::string what;
};

using Reading = std::variant<Claim, Unreadable>;

std::string placed(const TextError& error)
{
    return "line " + std::to_string(error.line) + ", column " +
           std::to_string(error.column) + ": " + error.what;
}

std::string_view withoutOuterBlanks(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

Reading readNumber(std::string form, std::variant<SecretNumber, TextError> number)
{
    if (const auto* error = std::get_if<TextError>(&number))
        return Unreadable{2, std::move(form), placed(*error)};
    Claim claim;
    claim.form = std::move(form);
    claim.prime = std::move(std::get<SecretNumber>(number));
    return claim;
}

bool looksDecimal(std::string_view text)
{
    const std::string_view digits = withoutOuterBlanks(text);
    return !digits.empty() &&
           digits.find_first_not_of("0123456789\r\n") == std::string_view::npos;
}

constexpr std::string_view resultPrefix = "Result:";

// Takes kind and size from the line "Safe prime 64 bits in 3 threads." before the prefix.
void takeFinishMessage(std::string_view before, Claim& claim)
{
    std::string_view line = withoutOuterBlanks(before);
    line.remove_prefix(line.rfind('\n') + 1);
    constexpr std::string_view safePrime = "Safe prime ";
    constexpr std::string_view prime = "Prime ";
    const bool safe = line.starts_with(safePrime);
    if (!safe && !line.starts_with(prime))
        return;
    line.remove_prefix(safe ? safePrime.size() : prime.size());
    int bits = 0;
    if (std::from_chars(line.data(), line.data() + line.size(), bits).ec != std::errc())
        return;
    claim.safe = safe;
    claim.bits = bits;
}

// norv's output with all messages. Progress marks and other text stand before the prefix.
Reading readNorvOutput(std::string_view text, std::size_t prefix)
{
    const std::size_t start = prefix + resultPrefix.size();
    std::variant<SecretNumber, TextError> number = parseHex(text.substr(start), nullptr);
    if (auto* error = std::get_if<TextError>(&number)) {
        const TextError place = errorAt(text, start, {});
        if (error->line == 1)
            error->column += place.column - 1;
        error->line += place.line - 1;
    }
    Reading reading = readNumber("output of norv", std::move(number));
    if (auto* claim = std::get_if<Claim>(&reading))
        takeFinishMessage(text.substr(0, prefix), *claim);
    return reading;
}

Reading readDhParameters(std::string_view text, Encoding encoding)
{
    std::string form = encoding == Encoding::pem ? "PEM" : "DER";
    std::optional<DhParameters> parameters = decodeDhParameters(text, encoding);
    if (!parameters)
        return Unreadable{2, std::move(form), "no Diffie-Hellman parameters"};
    Claim claim;
    claim.form = std::move(form);
    claim.prime = std::move(parameters->prime);
    claim.safe = !parameters->subgroupOrder;
    claim.dh = std::move(parameters);
    return claim;
}

Reading readJsonForm(std::string_view text)
{
    std::variant<JsonForm, TextError> form = readJson(text);
    if (const auto* error = std::get_if<TextError>(&form))
        return Unreadable{1, "JSON", placed(*error)};
    Claim claim;
    claim.form = "JSON";
    claim.json = std::move(std::get<JsonForm>(form));
    claim.prime = std::move(std::get<SecretNumber>(parseHex(claim.json->prime, nullptr)));
    claim.safe = claim.json->safe;
    claim.bits = claim.json->bits;
    return claim;
}

// DER begins with the tag of a sequence, which is the digit 0 in a text. In DER its
// length and the tag of a number follow, which are not in a text.
bool looksDer(std::string_view text)
{
    constexpr unsigned char longLength = 0x80;
    constexpr char numberTag = 0x02;
    return text.size() > 2 && text[0] == 0x30 &&
           (static_cast<unsigned char>(text[1]) >= longLength || text[2] == numberTag);
}

// A line of moduli(5): seven fields, of which the first is a time of 14 digits. All of
// them may be digits of hex.
bool looksLikeModuli(std::string_view text)
{
    constexpr std::size_t timeLength = 14;
    constexpr std::ptrdiff_t blanksBetweenFields = 6;
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    return line.find_first_not_of("0123456789") == timeLength &&
           std::count(line.begin(), line.end(), ' ') == blanksBetweenFields;
}

Reading readText(std::string_view text)
{
    if (looksDer(text))
        return readDhParameters(text, Encoding::der);
    // A text of --from in JSON may hold what begins a block of PEM, or norv's result.
    if (withoutOuterBlanks(text).starts_with('{'))
        return readJsonForm(text);
    if (text.find("-----BEGIN ") != std::string_view::npos)
        return readDhParameters(text, Encoding::pem);
    if (const std::size_t prefix = text.rfind(resultPrefix);
        prefix != std::string_view::npos)
        return readNorvOutput(text, prefix);
    if (looksLikeModuli(text))
        return Unreadable{2, "a line of moduli(5)", "'ssh-keygen -M screen' tests those"};
    if (looksDecimal(text))
        return readNumber("decimal", parseDecimal(text));
    return readNumber("hex", parseHex(text, nullptr));
}

// One step of a check: whether it agrees, and what it found.
struct Finding {
    int exitCode; // 0: it agrees
    std::string text;
    bool isSafe = false; // both p and (p-1)/2 were tested
};

constexpr char libraryFailed[] = "libcrypto failed; is memory short?";

Finding checkPrime(const Claim& claim, bool safe)
{
    const int bits = BN_num_bits(claim.prime.get());
    const std::string size = std::to_string(bits) + " bits";
    if (bits > mostBits)
        return {1, size + ", more than " + std::to_string(mostBits)};
    SecretNumber base;
    if (claim.json)
        base = std::move(std::get<SecretNumber>(parseHex(claim.json->base, nullptr)));
    if (claim.json && !base)
        return {1, libraryFailed};
    const int wanted = claim.bits ? claim.bits : bits;
    const auto processors = static_cast<int>(std::thread::hardware_concurrency());
    // Whether it is a safe prime is told in any case.
    switch (checkFound(claim.prime.get(), base.get(), wanted, true, processors)) {
    case CheckResult::good:
        return {0, "a safe prime of " + size, true};
    case CheckResult::halfNotPrime:
        return {safe ? 1 : 0, "a prime of " + size + (safe ? ", not a safe prime" : "")};
    case CheckResult::wrongSize:
        return {1, size + ", not " + std::to_string(wanted)};
    case CheckResult::belowBase:
        return {1, size + ", not above its base"};
    case CheckResult::notPrime:
        return {1, "not a prime, " + size};
    case CheckResult::failed:
        break;
    }
    return {1, libraryFailed};
}

std::string generatorText(const BIGNUM* generator)
{
    return BN_num_bits(generator) > 64 ? "the generator"
                                       : "generator " + decimalText(generator);
}

Finding checkGenerator(const Claim& claim)
{
    const BIGNUM* generator = claim.dh->generator.get();
    const std::string name = generatorText(generator);
    switch (orderModulo(generator, claim.prime.get())) {
    case Order::half:
        return {0, name + " of order (p-1)/2"};
    case Order::whole:
        return {0, name + " of order p-1"};
    case Order::trivial:
        return {1, name + " of order 1 or 2"};
    case Order::invalid:
        return {1, name + " not from 1 to p-1"};
    case Order::failed:
        break;
    }
    return {1, libraryFailed};
}

// For parameters with a q: it must be a prime that divides p-1, and the generator's
// order. With `isSafe`, (p-1)/2 is known to be one.
Finding checkSubgroup(const Claim& claim, bool isSafe)
{
    const BIGNUM* prime = claim.prime.get();
    const BIGNUM* order = claim.dh->subgroupOrder.get();
    const BIGNUM* generator = claim.dh->generator.get();
    const Context context(BN_CTX_new());
    const SecretNumber rest(BN_dup(prime));
    const SecretNumber half(BN_new());
    const SecretNumber power(BN_new());
    if (!context || !rest || !half || !power || !BN_sub_word(rest.get(), 1) ||
        !BN_rshift1(half.get(), rest.get()))
        return {1, libraryFailed};
    if (BN_is_negative(order) || BN_is_zero(order) || BN_is_one(order))
        return {1, "q is not a prime"};
    // A divisor of p-1 has no more bits than p: the test of a q of millions of bits would
    // not end.
    if (!BN_mod(rest.get(), rest.get(), order, context.get()))
        return {1, libraryFailed};
    if (!BN_is_zero(rest.get()))
        return {1, "q does not divide p-1"};
    const bool isTested = isSafe && BN_cmp(order, half.get()) == 0;
    const int verdict = isTested ? 1 : BN_check_prime(order, context.get(), nullptr);
    if (verdict == 0)
        return {1, "q is not a prime"};
    if (verdict != 1)
        return {1, libraryFailed};
    const std::string name = generatorText(generator);
    if (BN_is_zero(generator) || BN_is_one(generator) || BN_is_negative(generator) ||
        BN_cmp(generator, prime) >= 0)
        return {1, name + " not from 2 to p-1"};
    if (!BN_mod_exp(power.get(), generator, order, prime, context.get()))
        return {1, libraryFailed};
    if (!BN_is_one(power.get()))
        return {1, name + " not of order q"};
    return {0, name + " of order q, a prime of " + std::to_string(BN_num_bits(order)) +
                   " bits"};
}

Finding checkBase(const JsonForm& json)
{
    if (json.threads != 1)
        return {1, "a search from a text has one thread, not " +
                       std::to_string(json.threads)};
    const BigNumber base = baseFromText(json.from, json.bits, json.safe);
    if (!base)
        return {1, libraryFailed};
    if (hexText(base.get(), json.bits / 8) != json.base)
        return {1, "the base does not follow from the text"};
    return {0, "the base follows from the text"};
}

// The search made again.
CheckAnswer replay(const Claim& claim, const RepeatSearch& repeat,
                   const std::string& line)
{
    const auto base = parseHex(claim.json->base, nullptr);
    const SecretNumber& number = std::get<SecretNumber>(base);
    if (!number)
        return {1, {}, libraryFailed};
    const RepeatedSearch search = repeat(number.get(), claim.bits, claim.safe);
    if (!search.prime)
        return {search.exitCode, {}, search.error};
    if (BN_cmp(search.prime.get(), claim.prime.get()) != 0)
        return {1, line + "; the search made again finds another prime\n", {}};
    return {0, line + "; the search made again finds the same prime\n", {}};
}

} // namespace

CheckAnswer checkText(std::string_view text, bool safe, const RepeatSearch& repeat)
{
    const Reading reading = readText(text);
    if (const auto* unreadable = std::get_if<Unreadable>(&reading)) {
        std::string line = unreadable->form + ": " + unreadable->what;
        if (unreadable->exitCode == 1)
            return {1, std::move(line) + '\n', {}};
        return {unreadable->exitCode,
                {},
                "cannot read this as " + std::move(line) +
                    "; check reads hex, decimal, PEM, DER and norvctl's JSON"};
    }
    const auto& claim = std::get<Claim>(reading);
    if (!claim.prime)
        return {1, {}, libraryFailed};
    if (repeat && (!claim.json || claim.json->threads != 1))
        return {2, {}, "--replay needs the JSON of a search with one thread"};

    Finding finding = checkPrime(claim, safe || claim.safe);
    std::string line = claim.form + ": " + finding.text;
    const auto also = [&](const Finding& next) {
        finding.exitCode = next.exitCode;
        line += "; " + next.text;
    };
    if (finding.exitCode == 0 && claim.dh)
        also(claim.dh->subgroupOrder ? checkSubgroup(claim, finding.isSafe)
                                     : checkGenerator(claim));
    if (finding.exitCode == 0 && claim.json && !claim.json->from.empty())
        also(checkBase(*claim.json));
    if (finding.exitCode == 0 && repeat)
        return replay(claim, repeat, line);
    return {finding.exitCode, line + '\n', {}};
}
