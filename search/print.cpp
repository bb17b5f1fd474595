#include "search/print.h"

#include <cstdarg>

void printOut(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stdout, format, arguments);
    va_end(arguments);
}

void printTo(std::FILE* stream, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stream, format, arguments);
    va_end(arguments);
}
