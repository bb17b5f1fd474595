// What stands at a path, for the files that are written as a whole.
#pragma once

#include <system_error>

enum class Kind { none, file, folder, other };

// Why no file can take the place of such a thing; no error for a file and for nothing.
inline std::error_code refusalOf(Kind kind)
{
    if (kind == Kind::folder)
        return std::make_error_code(std::errc::is_a_directory);
    if (kind == Kind::other)
        return std::make_error_code(std::errc::not_supported);
    return {};
}
