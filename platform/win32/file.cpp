#include "platform/file.h"

#include <cwchar>

std::FILE* openForAppending(const wchar_t* path)
{
    return _wfopen(path, L"a");
}
