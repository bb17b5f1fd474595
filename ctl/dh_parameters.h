// Diffie-Hellman parameters as PEM and DER.
#pragma once

#include "prime/big_number.h"

#include <optional>
#include <string>
#include <string_view>

// The parameters of PKCS #3, or of X9.42 where there is a q.
struct DhParameters {
    SecretNumber prime;
    SecretNumber generator;
    SecretNumber subgroupOrder; // q; null when the text has none
};

enum class Encoding { pem, der };

// The parameters of PKCS #3 as the bytes of a file: "DH PARAMETERS" in PEM, or the DER
// alone. Nothing when libcrypto fails. Throws std::bad_alloc.
std::optional<std::string> encodeDhParameters(const BIGNUM* prime, BN_ULONG generator,
                                              Encoding encoding);

// Reads such bytes; in PEM the first parameters, also with other lines and other blocks
// (a certificate, a key) before and after. Checks no number. Nothing when the bytes hold
// no DH parameters or libcrypto fails.
std::optional<DhParameters> decodeDhParameters(std::string_view bytes, Encoding encoding);
