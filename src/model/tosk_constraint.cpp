#include "model/tosk_constraint.h"

#include "util/json_fields.h"

namespace {

util::UniqueJSON choiceToJSON(const ToskIntegerChoiceConstraint::Choice& choice) {
    util::UniqueJSON json = util::jsonObject();
    util::addMember(json.get(), "value", util::jsonNumber(choice.value));
    util::addMember(json.get(), "name", util::jsonString(choice.name));
    return json;
}

}  // namespace

int ToskConstraint::fromJSON(const cJSON* item) {
    const char* name = util::jsonText(util::jsonMember(item, "type"));
    if (!name) {
        return -1;
    }
    type_ = constraintTypeCode(name);
    return 0;
}

util::UniqueJSON ToskConstraint::toJSON() const {
    util::UniqueJSON json = util::jsonObject();
    util::addMember(json.get(), "type", util::jsonString(constraintTypeName(type_)));
    return json;
}

int ToskIntegerChoiceConstraint::fromJSON(const cJSON* item) {
    choices_.clear();
    if (ToskConstraint::fromJSON(item) != 0) {
        return -1;
    }
    const cJSON* choices = util::jsonMember(item, "choices");
    if (!choices) {
        return -1;
    }
    const cJSON* choice = nullptr;
    cJSON_ArrayForEach(choice, choices) {
        const char* name = util::jsonText(util::jsonMember(choice, "name"));
        const cJSON* value = util::jsonMember(choice, "value");
        if (name && value) {
            choices_.push_back({util::integerValue(value), name});
        }
    }
    return 0;
}

util::UniqueJSON ToskIntegerChoiceConstraint::toJSON() const {
    util::UniqueJSON json = ToskConstraint::toJSON();
    util::UniqueJSON choices = util::jsonArray();
    for (const Choice& choice : choices_) {
        util::addElement(choices.get(), choiceToJSON(choice));
    }
    util::addMember(json.get(), "choices", std::move(choices));
    return json;
}

std::unique_ptr<ToskConstraint> createConstraint(const cJSON* item) {
    const char* name = util::jsonText(util::jsonMember(item, "type"));
    if (!name || constraintTypeCode(name) != model::kConstraintIntChoice) {
        return nullptr;
    }
    return std::make_unique<ToskIntegerChoiceConstraint>();
}
