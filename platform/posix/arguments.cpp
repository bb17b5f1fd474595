#include "platform/arguments.h"

std::vector<std::string> argumentsOf(int count, const char* const* received)
{
    return {received, received + count};
}
