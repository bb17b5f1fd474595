#include "ctl/input_file.h"

#include "ctl/message.h"
#include "platform/whole_file.h"

std::variant<SecretText, ReadError> readInput(const std::string& path, std::size_t most)
{
    SecretText whole;
    const std::error_code error = readWhole(path == "-" ? "" : path, most, whole.text);
    if (error == std::errc::file_too_large)
        return ReadError{"it has more than " + std::to_string(most) + " bytes"};
    if (error)
        return ReadError{errorText(error)};
    return whole;
}
