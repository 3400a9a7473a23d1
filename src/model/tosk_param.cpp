// A parameter is read from JSON field by field; what is missing keeps its default. Its value exists
// from the first set on and has the kind of the type at that moment. A set tells the listener, a
// stored reading does not.

#include "model/tosk_param.h"

#include <syslog.h>

#include <algorithm>

#include "util/json_fields.h"
#include "util/log.h"
#include "util/numbers.h"
#include "util/trace.h"

namespace {

void readText(const cJSON* object, const char* key, std::string& text) {
    if (const char* found = util::jsonText(util::jsonMember(object, key))) {
        text = found;
    }
}

void addLength(cJSON* object, const char* key, int32_t length) {
    if (length >= 0) {
        util::addMember(object, key, util::jsonNumber(length));
    }
}

}  // namespace

int ToskParam::fromJSON(const cJSON* item) {
    if (!item || !readOid(item) || !readType(item)) {
        return -1;
    }
    readDisplay(item);
    readValue(item);
    readLengths(item);
    readConstraint(item);
    return 0;
}

bool ToskParam::readOid(const cJSON* item) {
    if (const char* text = util::jsonText(util::jsonMember(item, "oid"))) {
        setOid(ToskOID(text, 1));
        return true;
    }
    return !oid().leaf().empty();
}

bool ToskParam::readType(const cJSON* item) {
    const char* name = util::jsonText(util::jsonMember(item, "type"));
    if (!name) {
        return false;
    }
    type_ = valueTypeCode(name).value_or(type_);
    return true;
}

void ToskParam::readDisplay(const cJSON* item) {
    readText(item, "name", name_);
    if (const cJSON* readonly = util::jsonMember(item, "readonly")) {
        readonly_ = util::integerValue(readonly) != 0;
    }
    readText(item, "widget", widget_);
    if (const cJSON* precision = util::jsonMember(item, "precision")) {
        setPrecision(util::integerValue(precision));
    }
}

void ToskParam::readValue(const cJSON* item) {
    const cJSON* json = util::jsonMember(item, "value");
    if (!json) {
        return;
    }
    const std::unique_ptr<ToskValue> scratch = createValue(type_);
    if (scratch && scratch->fromJSON(json) == 0) {
        setValueFrom(scratch.get());
    }
}

void ToskParam::readLengths(const cJSON* item) {
    if (const cJSON* length = util::jsonMember(item, "maxlength")) {
        maxlength_ = util::saturatedInt32(length->valuedouble);
    }
    if (const cJSON* length = util::jsonMember(item, "totallength")) {
        totallength_ = util::saturatedInt32(length->valuedouble);
    }
}

void ToskParam::readConstraint(const cJSON* item) {
    const cJSON* json = util::jsonMember(item, "constraint");
    if (!json) {
        return;
    }
    constraint_ = createConstraint(json);
    if (constraint_ && constraint_->fromJSON(json) != 0) {
        constraint_.reset();
    }
}

util::UniqueJSON ToskParam::toJSON() const {
    util::UniqueJSON json = util::jsonObject();
    util::addMember(json.get(), "oid", oid().toJSON());
    util::addMember(json.get(), "name", util::jsonString(name_));
    util::addMember(json.get(), "type", util::jsonString(valueTypeName(type_)));
    util::addMember(json.get(), "readonly", util::jsonBool(readonly_));
    if (!widget_.empty()) {
        util::addMember(json.get(), "widget", util::jsonString(widget_));
    }
    addLength(json.get(), "precision", precision_);
    if (constraint_) {
        util::addMember(json.get(), "constraint", constraint_->toJSON());
    }
    addLength(json.get(), "maxlength", maxlength_);
    addLength(json.get(), "totallength", totallength_);
    if (value_) {
        util::addMember(json.get(), "value", valueToJSON());
    }
    return json;
}

int ToskParam::setValueFromJSON(const cJSON* item) {
    util::logMessage(LOG_DEBUG, "ToskParam::setValueFromJSON");
    if (!item) {
        return -1;
    }
    if (!value_) {
        util::logMessage(LOG_DEBUG, "ToskParam::setValueFromJSON - value == NULL");
    }
    ToskValue* value = valueOnDemand();
    if (!value) {
        util::trace("ToskParam::setValueFromJSON invalid value: %s\n",
                    util::renderJSON(item, true).c_str());
        return -1;
    }
    if (const int failure = value->fromJSON(item)) {
        return failure;
    }
    util::logMessage(LOG_DEBUG, "ToskParam::setValueFromJSON - fire value changed");
    notify();
    return 0;
}

void ToskParam::setValueFromJSONIfChanged(const cJSON* item) {
    ToskValue* value = valueOnDemand();
    if (value && value->setFromJSONChanged(item)) {
        notify();
    }
}

bool ToskParam::setValueFrom(const ToskValue* other) {
    const bool report = storeValueFrom(other);
    if (report) {
        notify();
    }
    return report;
}

bool ToskParam::storeValueFrom(const ToskValue* other) {
    if (!other) {
        return false;
    }
    ToskValue* value = valueOnDemand();
    return value && value->updateFrom(*this, other);
}

util::UniqueJSON ToskParam::valueToJSON() const {
    util::UniqueJSON json = value_ ? value_->toJSON() : nullptr;
    return json ? std::move(json) : util::jsonNull();
}

util::JSONText ToskParam::valueToText() const {
    return value_ ? value_->toText() : util::JSONText{"null"};
}

std::string ToskParam::valueToString() const {
    return value_ ? value_->toString() : std::string();
}

void ToskParam::setPrecision(int32_t precision) {
    precision_ = std::min(precision, kMaxPrecision);
}

ToskValue* ToskParam::valueOnDemand() {
    if (!value_) {
        value_ = createValue(type_);
    }
    return value_.get();
}

void ToskParam::notify() {
    if (listener_) {
        listener_->valueChanged(this);
    }
}
