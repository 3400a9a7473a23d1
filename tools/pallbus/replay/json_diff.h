#pragma once

#include <set>
#include <string>
#include <vector>

#include "util/json.h"

namespace pallbus::replay {

// Parameters whose values are not compared.
using IgnoredNames = std::set<std::string, std::less<>>;

// One leaf in which two JSON values differ.
struct JSONDifference {
    std::string path;      // member names and list indexes, joined by dots
    std::string expected;  // as JSON, shortened; "nothing" when it is absent
    std::string got;

    bool operator==(const JSONDifference&) const = default;
};

// Every leaf that differs. The order of members does not matter, the order of elements does. Skips
// the keys that are the name of an ignored parameter, or end in "." and that name.
std::vector<JSONDifference> differences(const cJSON* expected, const cJSON* got,
                                        const IgnoredNames& ignored);

// The item as a difference shows it; "nothing" for a null item.
std::string formatJSON(const cJSON* item);

// True when the values under this key are not compared.
bool isIgnored(std::string_view key, const IgnoredNames& ignored);

}  // namespace pallbus::replay
