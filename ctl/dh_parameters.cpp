#include "ctl/dh_parameters.h"

#include <algorithm>
#include <memory>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/decoder.h>
#include <openssl/encoder.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

namespace
{

template <auto release>
struct Release {
    template <typename Object>
    void operator()(Object* object) const
    {
        release(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Release<EVP_PKEY_CTX_free>>;
using Builder = std::unique_ptr<OSSL_PARAM_BLD, Release<OSSL_PARAM_BLD_free>>;
using Parameters = std::unique_ptr<OSSL_PARAM, Release<OSSL_PARAM_free>>;
using Encoder = std::unique_ptr<OSSL_ENCODER_CTX, Release<OSSL_ENCODER_CTX_free>>;
using Decoder = std::unique_ptr<OSSL_DECODER_CTX, Release<OSSL_DECODER_CTX_free>>;
using LibraryBytes = std::unique_ptr<unsigned char, Release<[](void* bytes) {
                                         OPENSSL_free(bytes);
                                     }>>;

// Leaves libcrypto's error queue as it was: nobody reads it.
class ErrorMark
{
public:
    ErrorMark()
    {
        ERR_set_mark();
    }
    ErrorMark(const ErrorMark&) = delete;
    ErrorMark& operator=(const ErrorMark&) = delete;
    ~ErrorMark()
    {
        ERR_pop_to_mark();
    }
};

const char* nameOf(Encoding encoding)
{
    return encoding == Encoding::pem ? "PEM" : "DER";
}

Key makeKey(const BIGNUM* prime, const BIGNUM* generator)
{
    const Builder builder(OSSL_PARAM_BLD_new());
    if (!builder ||
        !OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_FFC_P, prime) ||
        !OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_FFC_G, generator))
        return nullptr;
    const Parameters parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "DH", nullptr));
    EVP_PKEY* key = nullptr;
    const bool made = parameters && context &&
                      EVP_PKEY_fromdata_init(context.get()) > 0 &&
                      EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEY_PARAMETERS,
                                        parameters.get()) > 0;
    Key owned(key);
    return made ? std::move(owned) : nullptr;
}

Key decodeKey(std::string_view bytes, Encoding encoding, const char* keyType)
{
    EVP_PKEY* key = nullptr;
    const Decoder decoder(OSSL_DECODER_CTX_new_for_pkey(&key, nameOf(encoding), nullptr,
                                                        keyType, EVP_PKEY_KEY_PARAMETERS,
                                                        nullptr, nullptr));
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t size = bytes.size();
    const bool decoded =
        decoder && OSSL_DECODER_from_data(decoder.get(), &data, &size) == 1;
    Key owned(key);
    return decoded ? std::move(owned) : nullptr;
}

// libcrypto reads the first block of a PEM text, and takes no key or certificate for
// parameters. The text from the first block of parameters on; all of it when there is
// none.
std::string_view fromParameters(std::string_view pem)
{
    std::size_t start = pem.size();
    for (const std::string_view label :
         {"-----BEGIN DH PARAMETERS-----", "-----BEGIN X9.42 DH PARAMETERS-----"})
        start = std::min(start, pem.find(label));
    return start == pem.size() ? pem : pem.substr(start);
}

SecretNumber numberOf(const EVP_PKEY* key, const char* name)
{
    BIGNUM* number = nullptr;
    if (!EVP_PKEY_get_bn_param(key, name, &number))
        return nullptr;
    return SecretNumber(number);
}

} // namespace

std::optional<std::string> encodeDhParameters(const BIGNUM* prime, BN_ULONG generator,
                                              Encoding encoding)
{
    const ErrorMark mark;
    const BigNumber number(BN_new());
    if (!number || !BN_set_word(number.get(), generator))
        return std::nullopt;
    const Key key = makeKey(prime, number.get());
    if (!key)
        return std::nullopt;
    const Encoder encoder(OSSL_ENCODER_CTX_new_for_pkey(
        key.get(), EVP_PKEY_KEY_PARAMETERS, nameOf(encoding), "type-specific", nullptr));
    unsigned char* data = nullptr;
    std::size_t size = 0;
    const bool encoded =
        encoder && OSSL_ENCODER_to_data(encoder.get(), &data, &size) == 1;
    const LibraryBytes owned(data);
    if (!encoded)
        return std::nullopt;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    OPENSSL_cleanse(data, size);
    return bytes;
}

std::optional<DhParameters> decodeDhParameters(std::string_view bytes, Encoding encoding)
{
    const ErrorMark mark;
    if (encoding == Encoding::pem)
        bytes = fromParameters(bytes);
    for (const char* keyType : {"DH", "DHX"}) {
        const Key key = decodeKey(bytes, encoding, keyType);
        if (!key)
            continue;
        DhParameters found{numberOf(key.get(), OSSL_PKEY_PARAM_FFC_P),
                           numberOf(key.get(), OSSL_PKEY_PARAM_FFC_G),
                           numberOf(key.get(), OSSL_PKEY_PARAM_FFC_Q)};
        if (found.prime && found.generator)
            return found;
    }
    return std::nullopt;
}
