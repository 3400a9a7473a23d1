#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include <cjson/cJSON.h>

namespace lumo {

// The names that the data of a GET lists, borrowed from that data. What is not listed as an array
// is absent; items of an array that are not strings are left out.
struct NameQuery {
    using Names = std::vector<std::string_view>;

    std::optional<Names> values;       // under "param"
    std::optional<Names> descriptors;  // under "paramDescriptor"
};

// Reads data of the usual form, {"id":ID,"param":{"objectName":[NAME,...]}} with either key,
// without a tree. Nothing for any other form, which is for the JSON library. `id` becomes the ID.
std::optional<NameQuery> scanNameQuery(std::string_view data, std::string_view& id);

// Reads any data.
NameQuery readNameQuery(const cJSON* data);

}  // namespace lumo
