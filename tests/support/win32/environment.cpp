#include "tests/support/environment.h"

#include <cstdlib>
#include <utility>

namespace
{

std::optional<std::string> valueOf(const std::string& name)
{
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

void give(const std::string& name, const std::optional<std::string>& value)
{
    // An empty value removes the variable.
    _putenv_s(name.c_str(), value.value_or("").c_str());
}

} // namespace

EnvironmentVariable::EnvironmentVariable(std::string name,
                                         const std::optional<std::string>& value)
    : name_(std::move(name))
    , before_(valueOf(name_))
{
    give(name_, value);
}

EnvironmentVariable::~EnvironmentVariable()
{
    give(name_, before_);
}
