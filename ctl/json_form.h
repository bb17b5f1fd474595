// The JSON form of a found prime.
//
// An object with these members, in this order:
//   kind      "prime" or "safe prime"
//   bits      the size in bits
//   prime     lower-case hex, bits / 4 digits
//   base      the base of the search, lower-case hex, bits / 4 digits
//   from      the text that the base was derived from; only where there is one
//   threads   how many threads searched
//   seconds   how long the search took, to the millisecond
//   versions  an object: norv, norvctl, libcrypto
//   digest    SHA-256 over the other members, as lower-case hex. They are hashed as an
//             object in UTF-8, in this order and without white space between its tokens
//
// A reader may add and remove white space between the tokens. Every other change is
// found.
#pragma once

#include "ctl/number_text.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

// The members, without the digest.
struct JsonForm {
    bool safe = false;
    int bits = 0;
    std::string prime; // hex as above
    std::string base;  // hex as above
    std::string from;  // UTF-8; empty: there is none
    int threads = 0;
    double seconds = 0;
    std::string norvVersion;
    std::string norvctlVersion;
    std::string libcryptoVersion;

    JsonForm() = default;
    JsonForm(JsonForm&&) = default;
    JsonForm& operator=(JsonForm&&) = default;
    // Wipes the prime and the base.
    ~JsonForm();
};

// The versions of norvctl and of the libcrypto that this process uses.
std::string norvctlVersion();
std::string libcryptoVersion();

// Whether a text can be a member: whether it is UTF-8. Throws std::bad_alloc.
bool fitsJson(std::string_view text);

// The object over several lines, with a line end. Nothing when libcrypto fails. All texts
// fit JSON. Throws std::bad_alloc.
std::optional<std::string> writeJson(const JsonForm& form);

// Reads what writeJson wrote. An error tells the first place that is not as it was
// written, or that the digest is another. Says nothing of the numbers: only that prime
// and base are hex of the right length. Throws std::bad_alloc.
std::variant<JsonForm, TextError> readJson(std::string_view text);
