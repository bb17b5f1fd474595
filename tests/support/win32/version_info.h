// The version that a program's file carries for the system to show.
#pragma once

#include <string>

// The text of a name such as "ProductVersion", in US English; empty when the file at
// `path` carries none.
std::string versionText(const std::string& path, const std::string& name);

// The number of the file's version, such as "1.2.3.0"; empty when there is none.
std::string versionNumber(const std::string& path);
