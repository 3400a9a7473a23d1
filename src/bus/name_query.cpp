#include "bus/name_query.h"

#include <utility>

#include "util/json.h"
#include "util/json_scanner.h"

namespace lumo {

namespace {

constexpr const char* kValues = "param";
constexpr const char* kDescriptors = "paramDescriptor";
constexpr const char* kNames = "objectName";

// A list of more names is left to the library and its limits.
constexpr std::size_t kMaxScannedNames = 64;

bool scanNames(util::JSONScanner& scanner, NameQuery::Names& names) {
    if (!scanner.take('[')) {
        return false;
    }
    std::string_view name;
    while (names.size() < kMaxScannedNames && scanner.takeString(name)) {
        names.push_back(name);
        if (!scanner.take(',')) {
            return scanner.take(']');
        }
    }
    return false;
}

std::optional<NameQuery::Names> readNames(const cJSON* data, const char* kind) {
    const cJSON* const array = util::jsonMember(util::jsonMember(data, kind), kNames);
    if (!cJSON_IsArray(array)) {
        return std::nullopt;
    }
    NameQuery::Names names;
    names.reserve(static_cast<std::size_t>(cJSON_GetArraySize(array)));
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, array) {
        if (const char* const name = util::jsonText(item)) {
            names.emplace_back(name);
        }
    }
    return names;
}

}  // namespace

std::optional<NameQuery> scanNameQuery(std::string_view data, std::string_view& id) {
    util::JSONScanner scanner(data);
    std::string_view kind;
    NameQuery::Names names;
    const bool usual = scanner.take('{') && scanner.takeKey("id") && scanner.takeString(id) &&
                       scanner.take(',') && scanner.takeString(kind) && scanner.take(':') &&
                       scanner.take('{') && scanner.takeKey(kNames) && scanNames(scanner, names) &&
                       scanner.take('}') && scanner.take('}');
    if (usual && kind == kValues) {
        return NameQuery{std::move(names), std::nullopt};
    }
    if (usual && kind == kDescriptors) {
        return NameQuery{std::nullopt, std::move(names)};
    }
    return std::nullopt;
}

NameQuery readNameQuery(const cJSON* data) {
    return {readNames(data, kValues), readNames(data, kDescriptors)};
}

}  // namespace lumo
