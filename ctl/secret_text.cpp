#include "ctl/secret_text.h"

#include <openssl/crypto.h>

void wipe(std::string& text) noexcept
{
    text.resize(text.capacity());
    OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

SecretText::SecretText(std::string&& taken) noexcept
{
    text.swap(taken);
}

SecretText::SecretText(SecretText&& other) noexcept
{
    text.swap(other.text);
}

SecretText& SecretText::operator=(SecretText&& other) noexcept
{
    text.swap(other.text);
    return *this;
}

SecretText::~SecretText()
{
    wipe(text);
}
