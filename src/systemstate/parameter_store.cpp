#include "systemstate/parameter_store.h"

#include <utility>

namespace systemstate {

ParameterStore::ParameterStore(const ToskPersistedStructure& structure,
                               ReadingChanged readingChanged)
    : structure_(structure), readingChanged_(std::move(readingChanged)) {}

ToskDevice* ParameterStore::device() const {
    return structure_.devices().empty() ? nullptr : structure_.devices().front();
}

ToskParam* ParameterStore::find(std::string_view key) const {
    const ToskDevice* const held = device();
    return held == nullptr ? nullptr : held->findParam(key);
}

void ParameterStore::setInteger(std::string_view key, int64_t value) {
    set(key, ToskIntegerValue(value));
}

void ParameterStore::setFloat(std::string_view key, double value) {
    set(key, ToskFloatValue(value));
}

void ParameterStore::setText(std::string_view key, const std::string& value) {
    set(key, ToskStringValue(value));
}

bool ParameterStore::publishInteger(std::string_view key, int64_t reading) {
    return publish(key, ToskIntegerValue(reading));
}

bool ParameterStore::publishFloat(std::string_view key, double reading) {
    return publish(key, ToskFloatValue(reading));
}

void ParameterStore::set(std::string_view key, const ToskValue& value) {
    if (ToskParam* const param = find(key)) {
        param->setValueFrom(&value);
    }
}

bool ParameterStore::publish(std::string_view key, const ToskValue& reading) {
    ToskParam* const param = find(key);
    if (param == nullptr || !param->storeValueFrom(&reading)) {
        return false;
    }
    readingChanged_(*param);
    return true;
}

}  // namespace systemstate
