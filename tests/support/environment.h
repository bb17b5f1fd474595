// Variables of this process's environment, which what it starts inherits.
#pragma once

#include <optional>
#include <string>

// Gives the variable a value, or none, while this exists.
class EnvironmentVariable
{
public:
    EnvironmentVariable(std::string name, const std::optional<std::string>& value);
    ~EnvironmentVariable();
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};
