#include "ctl/from_text.h"

#include <array>
#include <memory>
#include <openssl/evp.h>
#include <vector>

namespace
{

struct DigestFree {
    void operator()(EVP_MD_CTX* context) const
    {
        EVP_MD_CTX_free(context);
    }
};
using DigestContext = std::unique_ptr<EVP_MD_CTX, DigestFree>;

constexpr std::string_view label = "norv base from text\n";

} // namespace

BigNumber baseFromText(std::string_view text, int bits, bool safe)
{
    const auto size = static_cast<unsigned>(bits);
    const std::array<unsigned char, 5> kindAndSize = {
        static_cast<unsigned char>(safe ? 1 : 0), static_cast<unsigned char>(size >> 24),
        static_cast<unsigned char>(size >> 16), static_cast<unsigned char>(size >> 8),
        static_cast<unsigned char>(size)};
    std::vector<unsigned char> bytes(size / 8);

    const DigestContext context(EVP_MD_CTX_new());
    if (!context || !EVP_DigestInit_ex(context.get(), EVP_shake256(), nullptr) ||
        !EVP_DigestUpdate(context.get(), label.data(), label.size()) ||
        !EVP_DigestUpdate(context.get(), kindAndSize.data(), kindAndSize.size()) ||
        !EVP_DigestUpdate(context.get(), text.data(), text.size()) ||
        !EVP_DigestFinalXOF(context.get(), bytes.data(), bytes.size()))
        return nullptr;
    bytes[0] |= 0x80;
    return BigNumber(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}
