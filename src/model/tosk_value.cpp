// A value takes another in two ways: from JSON, where any difference counts as a change, and from a
// value of the same kind, where a float also reports only what its precision shows.

#include "model/tosk_value.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "model/tosk_param.h"
#include "model/tosk_struct_value.h"
#include "util/numbers.h"
#include "util/trace.h"

namespace {

// `other` as the same kind as `held`, null when it is absent or of another kind.
template <typename Kind>
const Kind* sameKind(const Kind& held, const ToskValue* other) {
    return other && held.isCompatible(*other) ? dynamic_cast<const Kind*>(other) : nullptr;
}

// The number as a count of the smallest steps that `precision` decimals show. std::pow and
// std::round would load the mathematics library, half a megabyte, for this alone.
int64_t displaySteps(double number, int32_t precision) {
    double scale = 1.0;
    for (int32_t i = 0; i < precision; ++i) {
        scale *= 10.0;  // exact up to 10^22, above kMaxPrecision
    }
    return util::roundedInt64(number * scale);
}

bool looksTheSame(double held, double next, int32_t precision) {
    return precision >= 0 && displaySteps(held, precision) == displaySteps(next, precision);
}

}  // namespace

int ToskValue::fromJSON(const cJSON*) {
    return 0;
}

util::UniqueJSON ToskValue::toJSON() const {
    return nullptr;
}

util::JSONText ToskValue::toText() const {
    const util::UniqueJSON json = toJSON();
    util::JSONText value{json ? "" : "null"};
    if (json) {
        util::appendJSON(value.text, *json);
    }
    return value;
}

bool ToskValue::isCompatible(const ToskValue& other) const {
    return other.type_ == type_;
}

bool ToskValue::setFromJSONChanged(const cJSON* item) {
    if (!item) {
        return false;
    }
    changed_.set(false);
    return fromJSON(item) == 0 && changed_.get();
}

std::string ToskIntegerValue::toString() const {
    return std::to_string(value());
}

int ToskIntegerValue::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    // The item's integer member stops at 31 bits, where addresses go on.
    set(util::saturatedInt64(item->valuedouble));
    return 0;
}

util::UniqueJSON ToskIntegerValue::toJSON() const {
    return util::jsonNumber(static_cast<double>(value()));
}

util::JSONText ToskIntegerValue::toText() const {
    util::JSONText json;
    util::appendJSONNumber(json.text, static_cast<double>(value()));
    return json;
}

bool ToskIntegerValue::isCompatible(const ToskValue& other) const {
    return other.type() == model::kTypeInt16 || other.type() == model::kTypeInt32;
}

bool ToskIntegerValue::updateFrom(const ToskParam&, const ToskValue* other) {
    const auto* source = sameKind(*this, other);
    if (!source || source->value() == value()) {
        return false;
    }
    value_.set(source->value());
    return true;
}

void ToskIntegerValue::set(int64_t value) {
    if (value != value_.get()) {
        value_.set(value);
        markChanged();
    }
}

std::string ToskFloatValue::toString() const {
    // The largest double has 309 digits before the point. Not std::to_string: its digits follow
    // the language version, these do not.
    std::array<char, 336> text{};
    std::snprintf(text.data(), text.size(), "%f", value());
    return text.data();
}

int ToskFloatValue::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    set(item->valuedouble);
    return 0;
}

util::UniqueJSON ToskFloatValue::toJSON() const {
    return util::jsonNumber(value());
}

util::JSONText ToskFloatValue::toText() const {
    util::JSONText json;
    util::appendJSONNumber(json.text, value());
    return json;
}

bool ToskFloatValue::updateFrom(const ToskParam& owner, const ToskValue* other) {
    const auto* source = sameKind(*this, other);
    const double held = value();
    const double next = source ? source->value() : held;
    if (!source || next == held) {
        return false;
    }
    value_.set(next);
    return !looksTheSame(held, next, owner.precision());
}

void ToskFloatValue::set(double value) {
    if (value != value_.get()) {
        value_.set(value);
        markChanged();
    }
}

int ToskStringValue::fromJSON(const cJSON* item) {
    const char* text = util::jsonText(item);
    if (!text || strnlen(text, kMaxBytes + 1) > kMaxBytes) {
        return -1;
    }
    if (text_ != text) {
        std::string(text).swap(text_);  // a long one before it gives its memory back
        markChanged();
    }
    return 0;
}

util::UniqueJSON ToskStringValue::toJSON() const {
    return util::jsonString(text_);
}

util::JSONText ToskStringValue::toText() const {
    util::JSONText json;
    util::appendJSONString(json.text, text_);
    return json;
}

bool ToskStringValue::updateFrom(const ToskParam&, const ToskValue* other) {
    const auto* source = sameKind(*this, other);
    if (!source || source->text_ == text_) {
        return false;
    }
    std::string(source->text_).swap(text_);
    return true;
}

std::unique_ptr<ToskValue> createValue(int32_t typeCode) {
    switch (typeCode) {
        case model::kTypeInt16:
        case model::kTypeInt32:
            return std::make_unique<ToskIntegerValue>();
        case model::kTypeFloat:
            return std::make_unique<ToskFloatValue>();
        case model::kTypeString:
            return std::make_unique<ToskStringValue>();
        case model::kTypeStruct:
            return std::make_unique<ToskStructValue>();
        default:
            util::trace("InvalidToskParamType: %d\n", typeCode);
            return nullptr;
    }
}
