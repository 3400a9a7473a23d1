#include "model/param_values.h"

#include "model/tosk_param.h"

namespace model {

std::optional<int64_t> readInteger(const ToskParam* param) {
    if (param == nullptr) {
        return std::nullopt;
    }
    const auto* const value = dynamic_cast<const ToskIntegerValue*>(param->value().get());
    return value == nullptr ? std::nullopt : std::optional(value->value());
}

std::optional<bool> isNonZero(const ToskParam& param) {
    if (const std::optional<int64_t> number = readInteger(&param)) {
        return *number != 0;
    }
    const auto* const value = dynamic_cast<const ToskFloatValue*>(param.value().get());
    return value == nullptr ? std::nullopt : std::optional(value->value() != 0.0);
}

void storeSilently(const ToskParam& param, int64_t number) {
    if (auto* const value = dynamic_cast<ToskIntegerValue*>(param.value().get())) {
        value->set(number);
    }
}

}  // namespace model
