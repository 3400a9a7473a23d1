#pragma once

#include <map>
#include <string>
#include <string_view>

namespace systemstate {

// The description of the frame's software by its build, one KEY=value per line. Pure functions,
// usable from any thread.

using BuildProperties = std::map<std::string, std::string, std::less<>>;

// A line without "=" is skipped, a later line overwrites an earlier one. Of the value, a double
// quote right after the "=" and one before the line end are dropped.
BuildProperties decodeBuildProperties(std::string_view text);

// The version, directly followed by the revision in brackets if there is one; "read error" if both
// are empty.
std::string versionText(const BuildProperties& properties);

}  // namespace systemstate
