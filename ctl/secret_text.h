// Texts that give a prime or a base away.
#pragma once

#include <string>

// Overwrites the text's memory, also that after its end, and leaves it empty.
void wipe(std::string& text) noexcept;

// A text that is wiped at its end. Where it grows, copies may stay: reserve the room
// first.
struct SecretText {
    std::string text;

    SecretText() = default;
    explicit SecretText(std::string&& taken) noexcept;
    SecretText(SecretText&& other) noexcept;
    SecretText& operator=(SecretText&& other) noexcept;
    ~SecretText();
};
