#include "tests/support/big.h"

#include <algorithm>
#include <openssl/crypto.h>

BigNumber fromHex(std::string_view digits)
{
    std::string plain(digits);
    plain.erase(std::remove(plain.begin(), plain.end(), '\''), plain.end());
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, plain.c_str());
    return BigNumber(number);
}

std::string toHex(const BIGNUM* number)
{
    char* text = BN_bn2hex(number);
    std::string digits(text);
    OPENSSL_free(text);
    const auto first = digits.find_first_not_of('0');
    return first == std::string::npos ? "0" : digits.substr(first);
}
