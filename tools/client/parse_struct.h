#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"
#include "client/parse_value.h"

namespace client {

// What stands between the members of a structure in its human form.
inline constexpr const char* kMemberGap = ", ";

// A structure typed as it is shown, "member=value, member=value", with some or all of the members
// that it has. The gap may stand inside a value, unless a member's name and "=" follow. Pure
// function.
ParsedValue parseStruct(const std::vector<Parameter>& members, const std::string& text);

}  // namespace client
