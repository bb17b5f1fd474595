#include "platform/file.h"

#include "platform/posix/utf8.h"

#include <new>

std::FILE* openForAppending(const wchar_t* path)
{
    try {
        return std::fopen(encodeUtf8(path).c_str(), "ae");
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
