#include "platform/file.h"

#include "platform/posix/utf8.h"

std::FILE* openForAppending(const wchar_t* path)
{
    return std::fopen(encodeUtf8(path).c_str(), "ae");
}
