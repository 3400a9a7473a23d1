#pragma once

#include <set>
#include <string>
#include <vector>

#include "model/json.h"

namespace replay {

// Parameters whose values are not compared.
using Names = std::set<std::string, std::less<>>;

// One place where two JSON values are not the same.
struct Difference {
    std::string path;      // member names with dots between them, places in lists as numbers
    std::string expected;  // as JSON, "nothing" for what is not there; long ones are cut
    std::string got;

    bool operator==(const Difference&) const = default;
};

// Every leaf that differs. The order of members is of no importance, that of elements is. Left out
// is what stands under the name of an ignored parameter, or under a key that ends in "." and one.
std::vector<Difference> differences(const cJSON* expected, const cJSON* got, const Names& ignored);

// JSON as differences show it: a null item is "nothing".
std::string shown(const cJSON* item);

// True when the values under this key are not compared.
bool isIgnored(std::string_view key, const Names& ignored);

}  // namespace replay
