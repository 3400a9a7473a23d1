#include "pallctl/values/condition.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "client/format_value.h"

namespace pallctl {

namespace {

struct Operator {
    std::string_view text;
    Comparison comparison;
};
// The longer ones first.
constexpr Operator kOperators[] = {
    {"!=", Comparison::notEqual},
    {"<=", Comparison::lessOrEqual},
    {">=", Comparison::greaterOrEqual},
    {"=", Comparison::equal},
    {"<", Comparison::less},
    {">", Comparison::greater},
};
constexpr const char* kFirstCharacters = "!<>=";

bool isOrder(Comparison comparison) {
    return comparison != Comparison::equal && comparison != Comparison::notEqual;
}

}  // namespace

std::optional<Condition> parseCondition(const std::string& text) {
    const size_t end = text.find_first_of(kFirstCharacters);
    if (end == std::string::npos || end == 0) {
        return std::nullopt;
    }
    const std::string_view rest = std::string_view(text).substr(end);
    const auto* const found = std::ranges::find_if(
        kOperators, [&](const Operator& each) { return rest.starts_with(each.text); });
    return found == std::end(kOperators)
               ? std::nullopt
               : std::optional(Condition{text.substr(0, end), found->comparison,
                                         std::string(rest.substr(found->text.size()))});
}

client::ParsedValue parseWanted(const client::Parameter& parameter, const Condition& condition,
                                bool raw) {
    client::ParsedValue parsed = raw ? client::parseRawValue(parameter.descriptor, condition.value)
                                     : client::parseValue(parameter, condition.value);
    if (parsed.value && isOrder(condition.comparison) && !cJSON_IsNumber(parsed.value.get())) {
        return {nullptr, "has no order; use = or !="};
    }
    return parsed;
}

bool isMet(const client::Parameter& parameter, Comparison comparison, const cJSON* wanted) {
    if (!client::hasValue(parameter)) {
        return false;
    }
    const bool isEqual = client::hasValueAsShown(parameter, wanted);
    if (!isOrder(comparison)) {
        return isEqual == (comparison == Comparison::equal);
    }
    if (!cJSON_IsNumber(parameter.value.get())) {
        return false;
    }
    if (isEqual) {
        return comparison == Comparison::lessOrEqual || comparison == Comparison::greaterOrEqual;
    }
    const bool wantsLess = comparison == Comparison::less || comparison == Comparison::lessOrEqual;
    const double number = client::roundAsShown(parameter.descriptor, parameter.value->valuedouble);
    return wantsLess ? number < wanted->valuedouble : number > wanted->valuedouble;
}

}  // namespace pallctl
