#include "model/tosk_constraint.h"

#include "model/numbers.h"

namespace {

UniqueJSON choiceToJSON(const ToskIntegerChoiceConstraint::Choice& choice) {
    UniqueJSON json = jsonObject();
    addMember(json.get(), "value", jsonNumber(choice.value));
    addMember(json.get(), "name", jsonString(choice.name));
    return json;
}

}  // namespace

int ToskConstraint::fromJSON(const cJSON* item) {
    const char* name = jsonText(jsonMember(item, "type"));
    if (!name) {
        return -1;
    }
    type_ = constraintTypeCode(name);
    return 0;
}

UniqueJSON ToskConstraint::toJSON() const {
    UniqueJSON json = jsonObject();
    addMember(json.get(), "type", jsonString(constraintTypeName(type_)));
    return json;
}

int ToskIntegerChoiceConstraint::fromJSON(const cJSON* item) {
    choices_.clear();
    if (ToskConstraint::fromJSON(item) != 0) {
        return -1;
    }
    const cJSON* choices = jsonMember(item, "choices");
    if (!choices) {
        return -1;
    }
    const cJSON* choice = nullptr;
    cJSON_ArrayForEach(choice, choices) {
        const char* name = jsonText(jsonMember(choice, "name"));
        const cJSON* value = jsonMember(choice, "value");
        if (name && value) {
            choices_.push_back({saturatedInt32(value->valuedouble), name});
        }
    }
    return 0;
}

UniqueJSON ToskIntegerChoiceConstraint::toJSON() const {
    UniqueJSON json = ToskConstraint::toJSON();
    UniqueJSON choices = jsonArray();
    for (const Choice& choice : choices_) {
        addElement(choices.get(), choiceToJSON(choice));
    }
    addMember(json.get(), "choices", std::move(choices));
    return json;
}

std::unique_ptr<ToskConstraint> createConstraint(const cJSON* item) {
    const char* name = jsonText(jsonMember(item, "type"));
    if (!name || constraintTypeCode(name) != kConstraintIntChoice) {
        return nullptr;
    }
    return std::make_unique<ToskIntegerChoiceConstraint>();
}
