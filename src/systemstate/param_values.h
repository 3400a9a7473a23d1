#pragma once

#include <cstdint>
#include <optional>

#include "model/tosk_param.h"

// The number that the parameter holds; nothing for a null parameter and for a value of another
// kind, which is what a state file may have put there.
inline std::optional<int64_t> integerOf(const ToskParam* param) {
    if (param == nullptr) {
        return std::nullopt;
    }
    const auto* const value = dynamic_cast<const ToskIntegerValue*>(param->value().get());
    return value == nullptr ? std::nullopt : std::optional(value->value());
}

// Whether the parameter holds a number other than 0; nothing when it holds no number. A switch that
// a state file brought may hold its number in either kind.
inline std::optional<bool> isNonZero(const ToskParam& param) {
    if (const std::optional<int64_t> number = integerOf(&param)) {
        return *number != 0;
    }
    const auto* const value = dynamic_cast<const ToskFloatValue*>(param.value().get());
    return value == nullptr ? std::nullopt : std::optional(value->value() != 0.0);
}

// Puts a number into the parameter without telling anybody. Other kinds of values stay.
inline void setInPlace(const ToskParam& param, int64_t number) {
    if (auto* const value = dynamic_cast<ToskIntegerValue*>(param.value().get())) {
        value->set(number);
    }
}
