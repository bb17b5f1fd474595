// Texts that norvctl reads.
#pragma once

#include "ctl/secret_text.h"

#include <string>
#include <variant>

// Why a file was not read, for people, without its name.
struct ReadError {
    std::string why;
};

// All bytes of the file, or of standard input when the path is "-"; at most `most`, or it
// is an error. Throws std::bad_alloc.
std::variant<SecretText, ReadError> readInput(const std::string& path, std::size_t most);
