#include "model/tosk_type_names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace {

constexpr std::array kValueTypeNames{
    "INT16",       "INT32",       "FLOAT",        "STRING", "INT16_ARRAY",
    "INT32_ARRAY", "FLOAT_ARRAY", "STRING_ARRAY", "STRUCT", "STRUCT_ARRAY",
};

constexpr std::array kConstraintTypeNames{
    "INT_NULL",         "FLOAT_NULL", "INT_RANGE",   "INT_STEP_RANGE", "FLOAT_RANGE",
    "FLOAT_STEP_RANGE", "INT_CHOICE", "ALARM_TABLE", "STRUCT",
};

constexpr std::array kObjectKindNames{
    "object", "device", "menu_group", "menu", "page_layout_group", "oid",
};

template <size_t Count>
const char* nameOf(const std::array<const char*, Count>& names, int32_t code, const char* other) {
    const auto index = static_cast<uint32_t>(code);
    return index < Count ? names[index] : other;
}

template <size_t Count>
std::optional<int32_t> codeOf(const std::array<const char*, Count>& names, std::string_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        return std::nullopt;
    }
    return static_cast<int32_t>(std::distance(names.begin(), found));
}

}  // namespace

const char* valueTypeName(int32_t code) {
    return nameOf(kValueTypeNames, code, "");
}

std::optional<int32_t> valueTypeCode(std::string_view name) {
    return codeOf(kValueTypeNames, name);
}

const char* constraintTypeName(int32_t code) {
    return nameOf(kConstraintTypeNames, code, "UNDEFINED");
}

int32_t constraintTypeCode(std::string_view name) {
    return codeOf(kConstraintTypeNames, name).value_or(model::kConstraintUndefined);
}

const char* model::objectKindName(int32_t kind) {
    return nameOf(kObjectKindNames, kind, "");
}
