#include "ctl/json_form.h"

#include "ctl/secret_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>
#include <nlohmann/json.hpp>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <vector>

namespace
{

using Json = nlohmann::ordered_json;

constexpr int mostBits = 65536;

const char* kindOf(bool safe)
{
    return safe ? "safe prime" : "prime";
}

// Seconds to the millisecond. A whole number is written without a fraction, since other
// programs that read and write JSON do so.
Json secondsOf(double seconds)
{
    const double rounded = std::round(std::max(seconds, 0.0) * 1000) / 1000;
    constexpr double mostWhole = 1e15;
    if (rounded < mostWhole && rounded == std::floor(rounded))
        return static_cast<std::uint64_t>(rounded);
    return rounded;
}

Json objectOf(const JsonForm& form)
{
    Json object;
    object["kind"] = kindOf(form.safe);
    object["bits"] = form.bits;
    object["prime"] = form.prime;
    object["base"] = form.base;
    if (!form.from.empty())
        object["from"] = form.from;
    object["threads"] = form.threads;
    object["seconds"] = secondsOf(form.seconds);
    object["versions"] = {{"norv", form.norvVersion},
                          {"norvctl", form.norvctlVersion},
                          {"libcrypto", form.libcryptoVersion}};
    return object;
}

// Empty when libcrypto fails.
std::string sha256(std::string_view text)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned count = 0;
    if (!EVP_Digest(text.data(), text.size(), bytes.data(), &count, EVP_sha256(),
                    nullptr))
        return {};
    constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned i = 0; i < count; ++i) {
        hex += digits[bytes[i] >> 4];
        hex += digits[bytes[i] & 15];
    }
    return hex;
}

// The text of a member, where there is one and it is a text.
bool take(const Json& object, const char* name, std::string& value)
{
    const auto member = object.find(name);
    if (member == object.end() || !member->is_string())
        return false;
    value = member->get<std::string>();
    return true;
}

bool take(const Json& object, const char* name, int most, int& value)
{
    const auto member = object.find(name);
    if (member == object.end() || !member->is_number_unsigned() ||
        member->get<std::uint64_t>() > static_cast<std::uint64_t>(most))
        return false;
    value = member->get<int>();
    return true;
}

bool isHex(const std::string& text, int bits)
{
    return text.size() == static_cast<std::size_t>(bits) / 4 &&
           text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// Takes the members out of `object`. Returns what is wrong with it, or an empty text.
std::string takeMembers(const Json& object, JsonForm& form)
{
    if (!object.is_object())
        return "not an object";
    std::string kind;
    if (!take(object, "kind", kind) || (kind != kindOf(false) && kind != kindOf(true)))
        return "\"kind\" must be \"prime\" or \"safe prime\"";
    form.safe = kind == kindOf(true);
    if (!take(object, "bits", mostBits, form.bits) || form.bits < 8 || form.bits % 8 != 0)
        return "\"bits\" must be a multiple of 8, up to 65536";
    if (!take(object, "prime", form.prime) || !isHex(form.prime, form.bits))
        return "\"prime\" must have bits / 4 lower-case hex digits";
    if (!take(object, "base", form.base) || !isHex(form.base, form.bits))
        return "\"base\" must have bits / 4 lower-case hex digits";
    if (object.contains("from") &&
        (!take(object, "from", form.from) || form.from.empty()))
        return "\"from\" must be a text";
    constexpr int mostThreads = 1'000'000;
    if (!take(object, "threads", mostThreads, form.threads))
        return "\"threads\" must be a number";
    const auto seconds = object.find("seconds");
    if (seconds == object.end() || !seconds->is_number())
        return "\"seconds\" must be a number";
    form.seconds = seconds->get<double>();
    const auto versions = object.find("versions");
    if (versions == object.end() || !take(*versions, "norv", form.norvVersion) ||
        !take(*versions, "norvctl", form.norvctlVersion) ||
        !take(*versions, "libcrypto", form.libcryptoVersion))
        return "\"versions\" must name norv, norvctl and libcrypto";
    return {};
}

bool isWhiteSpace(char character)
{
    return character == ' ' || character == '\t' || character == '\n' ||
           character == '\r';
}

// The offsets of the characters of valid JSON that are not white space between tokens.
std::vector<std::size_t> offsetsOfTokens(std::string_view json)
{
    std::vector<std::size_t> offsets;
    bool inString = false;
    for (std::size_t position = 0; position < json.size(); ++position) {
        const char character = json[position];
        if (!inString && isWhiteSpace(character))
            continue;
        offsets.push_back(position);
        if (inString && character == '\\' && position + 1 < json.size())
            offsets.push_back(++position);
        else if (character == '"')
            inString = !inString;
    }
    return offsets;
}

// The first place where `text` differs from `written`, which has no white space between
// its tokens. The size of `text` when there is none.
std::size_t firstDifference(std::string_view text, std::string_view written)
{
    const std::vector<std::size_t> offsets = offsetsOfTokens(text);
    const std::size_t common = std::min(offsets.size(), written.size());
    for (std::size_t i = 0; i < common; ++i)
        if (text[offsets[i]] != written[i])
            return offsets[i];
    if (offsets.size() > written.size())
        return offsets[written.size()];
    return text.size();
}

} // namespace

JsonForm::~JsonForm()
{
    wipe(prime);
    wipe(base);
}

std::string norvctlVersion()
{
    return NORVCTL_VERSION;
}

std::string libcryptoVersion()
{
    return OpenSSL_version(OPENSSL_VERSION_STRING);
}

bool fitsJson(std::string_view text)
{
    try {
        static_cast<void>(Json(text).dump());
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

std::optional<std::string> writeJson(const JsonForm& form)
{
    Json object = objectOf(form);
    const std::string digest = sha256(SecretText(object.dump()).text);
    if (digest.empty())
        return std::nullopt;
    object["digest"] = digest;
    return object.dump(2) + "\n";
}

std::variant<JsonForm, TextError> readJson(std::string_view text)
{
    Json object;
    try {
        object = Json::parse(text);
    } catch (const Json::parse_error& error) {
        // The library counts from 1, and tells the last byte that it read.
        return errorAt(text, error.byte == 0 ? 0 : error.byte - 1, "not valid JSON");
    } catch (const Json::out_of_range&) {
        return TextError{1, 1, "a number beyond all bounds"};
    }
    JsonForm form;
    if (const std::string wrong = takeMembers(object, form); !wrong.empty())
        return TextError{1, 1, wrong};

    Json written = objectOf(form);
    // What a later version adds.
    for (const auto& [name, value] : object.items())
        if (name != "digest" && !written.contains(name))
            written[name] = value;
    const std::string computed = sha256(SecretText(written.dump()).text);
    if (computed.empty())
        throw std::bad_alloc();
    std::string digest;
    if (!take(object, "digest", digest) || digest != computed)
        return TextError{1, 1, "the digest does not fit: something was changed"};
    written["digest"] = digest;
    const std::size_t difference = firstDifference(text, SecretText(written.dump()).text);
    if (difference != text.size())
        return errorAt(text, difference, "not as norvctl writes it");
    return form;
}
